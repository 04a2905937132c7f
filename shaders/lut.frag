// Applies a 3-D colour table, --texture lut=STRIP.png: N squares of N x N pixels side by side. In a square, red grows
// from left to right and green from top to bottom; blue grows from square to square.

uniform sampler2D image;
uniform sampler2D lut;
uniform vec2 lutSize;
uniform vec2 lutTexelSize;

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

void main()
{
  vec4 color = texture2D(image, gl_TexCoord[0].st);
  float last = lutSize.y - 1.0;
  vec3 place = color.rgb * last;
  vec3 low = floor(place);
  vec3 high = min(low + 1.0, last);
  vec3 part = place - low;
  gl_FragColor = vec4(mix(square(low, high, low.b, part), square(low, high, high.b, part), part.b), color.a);
}
