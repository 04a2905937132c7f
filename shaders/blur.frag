// Gaussian blur of colours and alpha, along the rows and then along the columns.
// passes: 2
// default: radius=3 (the reach in pixels, up to 64; it is three standard deviations)

uniform sampler2D image;
uniform vec2 texelSize;
uniform vec2 direction;
uniform float radius;

void main()
{
  vec2 center = gl_TexCoord[0].st;
  vec4 sum = texture2D(image, center);
  float weights = 1.0;
  for (int i = 1; i <= 64; ++i)
  {
    float pixels = float(i);
    if (pixels > radius)
      break;
    float weight = exp(-4.5 * pixels * pixels / (radius * radius));
    vec2 offset = pixels * direction * texelSize;
    sum += weight * (texture2D(image, center - offset) + texture2D(image, center + offset));
    weights += 2.0 * weight;
  }
  gl_FragColor = sum / weights;
}
