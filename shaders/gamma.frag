// Raises each channel to the power of 1 / gamma.
// default: gamma=2.2 (above 1 makes the picture brighter, below 1 darker)

uniform sampler2D image;
uniform float gamma;

void main()
{
  vec4 color = texture2D(image, gl_TexCoord[0].st);
  gl_FragColor = vec4(pow(color.rgb, vec3(1.0 / gamma)), color.a);
}
