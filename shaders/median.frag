// Takes the median of 3 x 3 pixels, of each channel by itself: removes specks and keeps edges.

uniform sampler2D image;
uniform vec2 texelSize;

vec3 at(float x, float y)
{
  return texture2D(image, gl_TexCoord[0].st + vec2(x, y) * texelSize).rgb;
}

void sort(inout vec3 low, inout vec3 high)
{
  vec3 least = min(low, high);
  high = max(low, high);
  low = least;
}

void sort(inout vec3 low, inout vec3 middle, inout vec3 high)
{
  sort(low, middle);
  sort(middle, high);
  sort(low, middle);
}

void main()
{
  vec3 a = at(-1.0, -1.0), b = at(0.0, -1.0), c = at(1.0, -1.0);
  vec3 d = at(-1.0, 0.0), e = at(0.0, 0.0), f = at(1.0, 0.0);
  vec3 g = at(-1.0, 1.0), h = at(0.0, 1.0), i = at(1.0, 1.0);
  sort(a, b, c);
  sort(d, e, f);
  sort(g, h, i);
  // After sorting the rows, the median of all nine is the median of these three: the greatest of the low values, the
  // median of the middle ones, and the least of the high ones.
  vec3 low = max(max(a, d), g);
  sort(b, e, h);
  vec3 high = min(min(c, f), i);
  sort(low, e, high);
  gl_FragColor = vec4(e, texture2D(image, gl_TexCoord[0].st).a);
}
