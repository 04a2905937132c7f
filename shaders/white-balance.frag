// Makes the grey that a light has tinted grey again: weighs the responses of the eye's cones, in linear light.
// default: temperature=6500 (of the light, in kelvin, 1500 to 25000; more makes the picture warmer, less colder)
// default: tint=0 (how green the light was, -2 to 2; above 0 makes the picture more magenta, below more green)

uniform sampler2D image;
uniform float temperature;
uniform float tint;

// From linear sRGB to the cone responses of Bradford, and back.
const mat3 Cones = mat3(
  0.4226580, 0.0556908, 0.0213792,
  0.4913566, 0.9615562, 0.0876439,
  0.0273645, 0.0231894, 0.9807434);
const mat3 Colors = mat3(
  2.5384480, -0.1460004, -0.0422884,
  -1.2934826, 1.1166224, -0.0715901,
  -0.0402432, -0.0223285, 1.0225073);
// From CIE XYZ to the cone responses.
const mat3 Bradford = mat3(
  0.8951, -0.7502, 0.0389,
  0.2664, 1.7135, -0.0685,
  -0.1614, 0.0367, 1.0296);

// The cone responses to the light of a black body, by Krystek's approximation of its place in CIE 1960's u and v, or of
// one that is as much greener.
vec3 light(float kelvin, float green)
{
  float t = kelvin / 1000.0;
  float u = (0.860117757 + 0.154118254 * t + 0.128641212 * t * t) / (1.0 + 0.842420235 * t + 0.708145163 * t * t);
  float v = (0.317398726 + 0.0422806245 * t + 0.0420481691 * t * t) / (1.0 - 0.0289741816 * t + 0.161456053 * t * t);
  v += 0.02 * green;
  return Bradford * vec3(1.5 * u / v, 1.0, (2.0 - 0.5 * u) / v - 5.0);
}

void main()
{
  vec4 color = texture2D(image, gl_TexCoord[0].st);
  vec3 rgb = clamp(color.rgb, 0.0, 1.0);
  vec3 linear = mix(rgb / 12.92, pow((rgb + 0.055) / 1.055, vec3(2.4)), step(0.04045, rgb));
  vec3 cones = light(clamp(temperature, 1500.0, 25000.0), clamp(tint, -2.0, 2.0));
  vec3 gains = light(6500.0, 0.0) / max(cones, 0.02); // a warm and green light has next to no blue
  linear = max(Colors * (gains * (Cones * linear)), 0.0);
  rgb = mix(12.92 * linear, 1.055 * pow(linear, vec3(1.0 / 2.4)) - 0.055, step(0.0031308, linear));
  gl_FragColor = vec4(rgb, color.a);
}
