// Gaussian blur of colours and alpha, along the rows and then along the columns. Colours count by their alpha.
// passes: 2
// default: radius=3 (the reach in pixels, up to 64; it is three standard deviations)

uniform sampler2D image;
uniform vec2 texelSize;
uniform vec2 direction;
uniform float radius;

vec4 at(vec2 place)
{
  vec4 color = texture2D(image, place);
  return vec4(color.rgb * color.a, color.a);
}

void main()
{
  vec2 center = gl_TexCoord[0].st;
  vec4 sum = at(center);
  float weights = 1.0;
  for (int i = 1; i <= 64; ++i)
  {
    float pixels = float(i);
    if (pixels > radius)
      break;
    float weight = exp(-4.5 * pixels * pixels / (radius * radius));
    vec2 offset = pixels * direction * texelSize;
    sum += weight * (at(center - offset) + at(center + offset));
    weights += 2.0 * weight;
  }
  // Where nothing is to be seen, the colour stays.
  gl_FragColor = sum.a > 0.0 ? vec4(sum.rgb / sum.a, sum.a / weights) : texture2D(image, center);
}
