// Makes everything black or white by its luma (of ITU-R BT.601).
// default: level=0.5 (the luma from which on a pixel is white)
// default: softness=0 (how wide a range of lumas around the level becomes grey, for smooth borders)

uniform sampler2D image;
uniform float level;
uniform float softness;

void main()
{
  vec4 color = texture2D(image, gl_TexCoord[0].st);
  float above = dot(color.rgb, vec3(0.299, 0.587, 0.114)) - level;
  // A millionth for what rounding takes off a luma that is the level.
  float share = softness > 0.0 ? clamp(above / softness + 0.5, 0.0, 1.0) : step(-1e-6, above);
  gl_FragColor = vec4(vec3(share), color.a);
}
