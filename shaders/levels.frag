// Stretches what lies between two levels over the whole range, each channel alike; what lies outside is cut off.
// default: black=0 (the level that becomes the darkest)
// default: white=1 (the level that becomes the brightest; below black, the picture becomes a negative)
// default: gamma=1 (above 1 makes what lies between brighter, below 1 darker)
// default: low=0 (the darkest level of the result)
// default: high=1 (the brightest level of the result)

uniform sampler2D image;
uniform float black;
uniform float white;
uniform float gamma;
uniform float low;
uniform float high;

void main()
{
  vec4 color = texture2D(image, gl_TexCoord[0].st);
  float range = abs(white - black) < 1e-6 ? 1e-6 : white - black;
  vec3 share = pow(clamp((color.rgb - black) / range, 0.0, 1.0), vec3(1.0 / gamma));
  gl_FragColor = vec4(low + (high - low) * share, color.a);
}
