// Contrast about the middle grey, then brightness.
// default: brightness=0 (added; 1 is the way from black to white)
// default: contrast=1 (0 is all grey)

uniform sampler2D image;
uniform float brightness;
uniform float contrast;

void main()
{
  vec4 color = texture2D(image, gl_TexCoord[0].st);
  gl_FragColor = vec4((color.rgb - 0.5) * contrast + 0.5 + brightness, color.a);
}
