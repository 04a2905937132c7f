// Sharpens by an unsharp mask: adds what a 3 x 3 Gaussian blur removes. Colours count by their alpha, which stays.
// default: amount=1 (a factor; more makes the picture sharper)

uniform sampler2D image;
uniform vec2 texelSize;
uniform float amount;

vec4 at(float x, float y)
{
  return texture2D(image, gl_TexCoord[0].st + vec2(x, y) * texelSize);
}

// The blurred colour where some pixels are transparent.
vec3 weighted()
{
  vec4 sum = vec4(0.0);
  for (float y = -1.0; y < 1.5; ++y)
    for (float x = -1.0; x < 1.5; ++x)
    {
      vec4 color = at(x, y);
      sum += (2.0 - abs(x)) * (2.0 - abs(y)) * color.a * vec4(color.rgb, 1.0);
    }
  return sum.rgb / sum.a;
}

void main()
{
  vec4 color = at(0.0, 0.0);
  vec4 sides = at(-1.0, 0.0) + at(1.0, 0.0) + at(0.0, -1.0) + at(0.0, 1.0);
  vec4 corners = at(-1.0, -1.0) + at(1.0, -1.0) + at(-1.0, 1.0) + at(1.0, 1.0);
  vec4 blurred = (4.0 * color + 2.0 * sides + corners) / 16.0;
  if (blurred.a < 1.0)
    blurred.rgb = color.a > 0.0 ? weighted() : color.rgb; // the colour of what cannot be seen stays
  gl_FragColor = vec4(color.rgb + amount * (color.rgb - blurred.rgb), color.a);
}
