#ifndef OM_TESTS_CARD_H
#define OM_TESTS_CARD_H

#include <cstdlib>
#include <string>

/// Makes Mesa behave like the card that OM_TEST_CARD names, and returns the name. Mesa's override variables remove
/// extensions and lower the GL version. Runs before main(), because the driver reads them when it starts.
inline std::string applyCard()
{
  const char* const value = std::getenv("OM_TEST_CARD");
  const std::string name = value ? value : "full";
  std::string missing;
  if (name != "full")
    missing = "-GL_ARB_texture_non_power_of_two";
  if (name == "padded" || name == "old")
    missing += " -GL_ARB_texture_rectangle -GL_NV_texture_rectangle -GL_EXT_texture_rectangle";
  if (!missing.empty())
    setenv("MESA_EXTENSION_OVERRIDE", missing.c_str(), 1);
  if (name == "old")
    setenv("MESA_GL_VERSION_OVERRIDE", "1.2", 1);
  return name;
}

/// The card: full, rectangle (no GL_ARB_texture_non_power_of_two), padded (no rectangle textures either) or old (like
/// padded, with GL 1.2).
inline const std::string card = applyCard();

#endif
