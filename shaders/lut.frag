// Applies a colour table, --texture lut=FILM.cube, or a picture of one: N squares of N x N pixels side by side. In a
// square, red grows from left to right and green from top to bottom; blue grows from square to square.

uniform sampler2D image;
uniform sampler2D lut;
uniform vec2 lutSize;
uniform vec2 lutTexelSize;
uniform vec3 lutDomainMin;
uniform vec3 lutDomainMax;
uniform int lutEntries; // of a table with a curve for each channel, in rows; otherwise 0

vec3 entry(vec3 cell)
{
  return texture2D(lut, (vec2(cell.b * lutSize.y + cell.r, cell.g) + 0.5) * lutTexelSize).rgb;
}

vec3 square(vec3 low, vec3 high, float blue, vec3 part)
{
  vec3 top = mix(entry(vec3(low.rg, blue)), entry(vec3(high.r, low.g, blue)), part.r);
  vec3 bottom = mix(entry(vec3(low.r, high.g, blue)), entry(vec3(high.rg, blue)), part.r);
  return mix(top, bottom, part.g);
}

vec3 curveEntry(float number)
{
  float row = floor((number + 0.5) / lutSize.x);
  return texture2D(lut, (vec2(number - row * lutSize.x, row) + 0.5) * lutTexelSize).rgb;
}

vec3 curves(vec3 cell)
{
  return vec3(curveEntry(cell.r).r, curveEntry(cell.g).g, curveEntry(cell.b).b);
}

void main()
{
  vec4 color = texture2D(image, gl_TexCoord[0].st);
  float last = lutEntries > 0 ? float(lutEntries - 1) : lutSize.y - 1.0;
  vec3 place = clamp((color.rgb - lutDomainMin) / (lutDomainMax - lutDomainMin), 0.0, 1.0) * last;
  vec3 low = floor(place);
  vec3 high = min(low + 1.0, last);
  vec3 part = place - low;
  vec3 result = lutEntries > 0 ? mix(curves(low), curves(high), part)
                               : mix(square(low, high, low.b, part), square(low, high, high.b, part), part.b);
  gl_FragColor = vec4(result, color.a);
}
