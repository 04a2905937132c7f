// Finds edges and shows them in grey: the length of the Sobel gradient of the luma. Neighbours count by their alpha.
// default: strength=1 (a factor; more makes the edges brighter)

uniform sampler2D image;
uniform vec2 texelSize;
uniform float strength;

const vec3 Luma = vec3(0.299, 0.587, 0.114);

// The luma of a neighbour. As far as that is transparent, it is like the pixel itself, and makes no edge.
float luma(float x, float y, float own)
{
  vec4 color = texture2D(image, gl_TexCoord[0].st + vec2(x, y) * texelSize);
  return color.a * dot(color.rgb, Luma) + (1.0 - color.a) * own;
}

void main()
{
  vec4 color = texture2D(image, gl_TexCoord[0].st);
  float own = dot(color.rgb, Luma);
  float topLeft = luma(-1.0, -1.0, own);
  float topRight = luma(1.0, -1.0, own);
  float bottomLeft = luma(-1.0, 1.0, own);
  float bottomRight = luma(1.0, 1.0, own);
  float x = topRight + 2.0 * luma(1.0, 0.0, own) + bottomRight - topLeft - 2.0 * luma(-1.0, 0.0, own) - bottomLeft;
  float y = bottomLeft + 2.0 * luma(0.0, 1.0, own) + bottomRight - topLeft - 2.0 * luma(0.0, -1.0, own) - topRight;
  gl_FragColor = vec4(vec3(strength * length(vec2(x, y))), color.a);
}
