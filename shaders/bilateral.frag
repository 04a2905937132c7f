// Smooths and keeps edges: a Gaussian mean in which colours also count by how near they are to the pixel's own, and by
// their alpha, which stays.
// default: radius=6 (the reach in pixels, up to 24; it is three standard deviations)
// default: tolerance=0.1 (the standard deviation of what counts as near; 1 is from black to white)

uniform sampler2D image;
uniform vec2 texelSize;
uniform float radius;
uniform float tolerance;

void main()
{
  vec2 center = gl_TexCoord[0].st;
  vec4 color = texture2D(image, center);
  float reach = floor(clamp(radius, 0.0, 24.0));
  float steepness = 4.5 / max(radius * radius, 1.0);
  float strictness = 0.5 / max(3.0 * tolerance * tolerance, 1e-9); // the squares of three channels are added
  vec4 sum = vec4(0.0);
  for (float y = -reach; y <= reach; ++y)
    for (float x = -reach; x <= reach; ++x)
    {
      vec4 other = texture2D(image, center + vec2(x, y) * texelSize);
      vec3 difference = other.rgb - color.rgb;
      float distances = steepness * (x * x + y * y) + strictness * dot(difference, difference);
      sum += exp(-distances) * other.a * vec4(other.rgb, 1.0);
    }
  gl_FragColor = color.a > 0.0 ? vec4(sum.rgb / sum.a, color.a) : color; // what cannot be seen stays
}
