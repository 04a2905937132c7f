// Turns colours into shades of grey: the luma of ITU-R BT.601.

uniform sampler2D image;

void main()
{
  vec4 color = texture2D(image, gl_TexCoord[0].st);
  gl_FragColor = vec4(vec3(dot(color.rgb, vec3(0.299, 0.587, 0.114))), color.a);
}
