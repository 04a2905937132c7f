// Turns the hues, and changes saturation and lightness, in the HSL model.
// default: hue=0 (in degrees; 120 makes red green, green blue and blue red)
// default: saturation=1 (a factor; 0 makes the picture grey)
// default: lightness=1 (a factor; 0 makes the picture black)

uniform sampler2D image;
uniform float hue;
uniform float saturation;
uniform float lightness;

void main()
{
  vec4 color = texture2D(image, gl_TexCoord[0].st);
  vec3 rgb = clamp(color.rgb, 0.0, 1.0);
  float most = max(max(rgb.r, rgb.g), rgb.b);
  float chroma = most - min(min(rgb.r, rgb.g), rgb.b);
  float light = most - 0.5 * chroma;
  float sixths = 0.0; // of the circle of hues, from red over green and blue
  if (chroma > 0.0)
    sixths = most == rgb.r   ? (rgb.g - rgb.b) / chroma
             : most == rgb.g ? (rgb.b - rgb.r) / chroma + 2.0
                             : (rgb.r - rgb.g) / chroma + 4.0;
  float saturated = min(max(saturation, 0.0) * chroma / max(1.0 - abs(2.0 * light - 1.0), 1e-6), 1.0);
  light = clamp(light * lightness, 0.0, 1.0);
  vec3 pure = clamp(abs(mod(sixths + hue / 60.0 + vec3(0.0, 4.0, 2.0), 6.0) - 3.0) - 1.0, 0.0, 1.0);
  gl_FragColor = vec4(light + saturated * (1.0 - abs(2.0 * light - 1.0)) * (pure - 0.5), color.a);
}
