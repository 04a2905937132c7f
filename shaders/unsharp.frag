// Sharpens by an unsharp mask of any radius: adds what a Gaussian blur removes. Colours count by their alpha, which
// stays. The blur is made within the one pass, so that nothing is rounded before the difference is taken.
// default: radius=6 (the blur's reach in pixels, up to 24; it is three standard deviations)
// default: amount=1 (a factor; more makes the picture sharper)
// default: threshold=0 (what is left off each difference, against noise; 1 is from black to white)

uniform sampler2D image;
uniform vec2 texelSize;
uniform float radius;
uniform float amount;
uniform float threshold;

void main()
{
  vec2 center = gl_TexCoord[0].st;
  vec4 color = texture2D(image, center);
  float reach = floor(clamp(radius, 0.0, 24.0));
  float steepness = 4.5 / max(radius * radius, 1.0);
  vec4 sum = vec4(0.0);
  for (float y = -reach; y <= reach; ++y)
    for (float x = -reach; x <= reach; ++x)
    {
      vec4 other = texture2D(image, center + vec2(x, y) * texelSize);
      sum += exp(-steepness * (x * x + y * y)) * other.a * vec4(other.rgb, 1.0);
    }
  if (color.a > 0.0) // the colour of what cannot be seen stays
  {
    vec3 difference = color.rgb - sum.rgb / sum.a;
    color.rgb += amount * sign(difference) * max(abs(difference) - threshold, 0.0);
  }
  gl_FragColor = color;
}
