// Makes the negative of the picture.

uniform sampler2D image;

void main()
{
  vec4 color = texture2D(image, gl_TexCoord[0].st);
  gl_FragColor = vec4(1.0 - color.rgb, color.a);
}
