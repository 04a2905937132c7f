// Sharpens by an unsharp mask: adds what a 3 x 3 Gaussian blur removes.
// default: amount=1 (a factor; more makes the picture sharper)

uniform sampler2D image;
uniform vec2 texelSize;
uniform float amount;

vec3 at(float x, float y)
{
  return texture2D(image, gl_TexCoord[0].st + vec2(x, y) * texelSize).rgb;
}

void main()
{
  vec4 color = texture2D(image, gl_TexCoord[0].st);
  vec3 sides = at(-1.0, 0.0) + at(1.0, 0.0) + at(0.0, -1.0) + at(0.0, 1.0);
  vec3 corners = at(-1.0, -1.0) + at(1.0, -1.0) + at(-1.0, 1.0) + at(1.0, 1.0);
  vec3 blurred = (4.0 * color.rgb + 2.0 * sides + corners) / 16.0;
  gl_FragColor = vec4(color.rgb + amount * (color.rgb - blurred), color.a);
}
