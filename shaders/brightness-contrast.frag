// Changes the contrast around middle grey, then the brightness.
// default: brightness=0 (added to each channel; 1 turns black into white)
// default: contrast=1 (a factor; 0 makes everything middle grey)

uniform sampler2D image;
uniform float brightness;
uniform float contrast;

void main()
{
  vec4 color = texture2D(image, gl_TexCoord[0].st);
  gl_FragColor = vec4((color.rgb - 0.5) * contrast + 0.5 + brightness, color.a);
}
