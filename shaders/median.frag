// Takes the median of 3 x 3 pixels, of each channel by itself: removes specks and keeps edges. Colours count by their
// alpha, which stays.

uniform sampler2D image;
uniform vec2 texelSize;

void main()
{
  vec4 pixels[9];
  float total = 0.0;
  for (int i = 0; i < 9; ++i)
  {
    vec2 offset = vec2(mod(float(i), 3.0) - 1.0, floor(float(i) / 3.0 + 0.1) - 1.0);
    pixels[i] = texture2D(image, gl_TexCoord[0].st + offset * texelSize);
    total += pixels[i].a;
  }
  vec3 enough = vec3(0.5 * total - 0.001); // less than half a step of a byte, for what rounding takes
  vec3 median = vec3(1e9);
  for (int i = 0; i < 9; ++i)
  {
    vec3 weight = vec3(0.0); // of the colours up to this one
    for (int j = 0; j < 9; ++j)
      weight += pixels[j].a * step(pixels[j].rgb, pixels[i].rgb);
    median = min(median, pixels[i].rgb + 1e9 * (1.0 - step(enough, weight)));
  }
  gl_FragColor = vec4(pixels[4].a > 0.0 ? median : pixels[4].rgb, pixels[4].a);
}
