#include "tools/omrender/filter/workLine.h"

#include "tools/omrender/failure.h"
#include "tools/omrender/filter/uniformSetting.h"

#include <charconv>

#include <nlohmann/json.hpp>

namespace
{

using Json = nlohmann::json;

/// The text of a key whose value must be a name of a file.
OmString nameOf(const Json& value, const OmString& key)
{
  const OmString* const name = value.get_ptr<const OmString*>();
  if (!name || name->empty())
    throw Failure(quoted(key) + " takes the name of a file");
  if (name->find('\0') != OmString::npos)
    throw Failure(quoted(key) + " has a NUL character, which no name of a file has");
  return *name;
}

/// A number or a boolean as --set takes it; empty for what is neither.
OmString scalarText(const Json& value)
{
  if (value.is_boolean())
    return value.get<bool>() ? "true" : "false";
  if (!value.is_number())
    return "";
  char text[32];
  const auto write = [&text](auto number) { return std::to_chars(std::begin(text), std::end(text), number).ptr; };
  char* const end = value.is_number_float()      ? write(value.get<double>())
                    : value.is_number_unsigned() ? write(value.get<std::uint64_t>())
                                                 : write(value.get<std::int64_t>());
  return OmString(text, static_cast<std::size_t>(end - text));
}

/// The value of a uniform as --set takes it; empty for what makes none.
OmString valueText(const Json& value)
{
  if (value.is_string())
    return value.get<OmString>();
  if (!value.is_array())
    return scalarText(value);
  OmString text;
  for (const Json& element : value)
  {
    const OmString scalar = scalarText(element);
    if (scalar.empty())
      return "";
    text += (text.empty() ? "" : ",") + scalar;
  }
  return text;
}

/// `name` may have the number of a shader in front: "2:radius".
OmString uniformText(const OmString& name, const Json& value)
{
  const std::size_t colon = name.find(':');
  const std::size_t digits = name.find_first_not_of("0123456789");
  const bool isNumbered = colon != OmString::npos && colon > 0 && digits == colon;
  const OmString text = valueText(value);
  if (text.empty() || !readUniformSetting(name.substr(isNumbered ? colon + 1 : 0) + '=' + text))
    throw Failure("\"set\" takes numbers, as 3.5 or [1,0.5,0], and true and false; that of " + quoted(name) +
                  " is none of these");
  return name + '=' + text;
}

std::vector<OmString> uniformsOf(const Json& values)
{
  if (!values.is_object())
    throw Failure("\"set\" takes an object, as {\"radius\": 3.5}");
  std::vector<OmString> uniforms;
  for (const auto& [name, value] : values.items())
    uniforms.push_back(uniformText(name, value));
  return uniforms;
}

Json parsed(const OmString& line)
{
  try
  {
    return Json::parse(line);
  }
  catch (const Json::parse_error& error)
  {
    throw Failure("broken JSON at byte " + std::to_string(error.byte) +
                  "; a name that begins with { can be given as ./{");
  }
  catch (const Json::exception&) // a number that no double holds
  {
    throw Failure("JSON with a number that is too large");
  }
}

} // namespace

void readWorkLine(const OmString& line, FilterTask& task)
{
  if (line.front() != '{')
  {
    if (line.find('\0') != OmString::npos)
      throw Failure("a NUL character; give --null for names that end with one");
    task.picture = line;
    return;
  }
  const Json object = parsed(line);
  const auto picture = object.find("in");
  if (picture == object.end())
    throw Failure("no \"in\", which takes the picture's name");
  task.picture = nameOf(*picture, "in");
  for (const auto& [key, value] : object.items())
    if (key == "out")
      task.result = nameOf(value, key);
    else if (key == "set")
      task.uniforms = uniformsOf(value);
    else if (key != "in")
      throw Failure("an unknown key " + quoted(key) + "; there are \"in\", \"out\" and \"set\"");
}
