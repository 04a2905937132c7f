// Finds edges and shows them in grey: the length of the Sobel gradient of the luma.
// default: strength=1 (a factor; more makes the edges brighter)

uniform sampler2D image;
uniform vec2 texelSize;
uniform float strength;

float luma(float x, float y)
{
  return dot(texture2D(image, gl_TexCoord[0].st + vec2(x, y) * texelSize).rgb, vec3(0.299, 0.587, 0.114));
}

void main()
{
  float topLeft = luma(-1.0, -1.0);
  float topRight = luma(1.0, -1.0);
  float bottomLeft = luma(-1.0, 1.0);
  float bottomRight = luma(1.0, 1.0);
  float x = topRight + 2.0 * luma(1.0, 0.0) + bottomRight - topLeft - 2.0 * luma(-1.0, 0.0) - bottomLeft;
  float y = bottomLeft + 2.0 * luma(0.0, 1.0) + bottomRight - topLeft - 2.0 * luma(0.0, -1.0) - topRight;
  gl_FragColor = vec4(vec3(strength * length(vec2(x, y))), texture2D(image, gl_TexCoord[0].st).a);
}
