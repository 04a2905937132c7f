#ifndef OM_TOOLS_PARSED_OPTION_H
#define OM_TOOLS_PARSED_OPTION_H

#include "tools/omrender/failure.h"

#include <CLI/App.hpp>

#include <vector>

/// Adds an option. `read` turns its text into a value for `target`, or returns nothing for a text that is refused.
/// `takes` says in the error what the option takes.
template <typename Target, typename Read>
void addParsedOption(CLI::App& command, const OmString& name, const OmString& form, Target& target, const Read& read,
                     const OmString& takes, const OmString& description)
{
  const auto store = [name, takes, read, &target](const OmString& text)
  {
    const auto value = read(text);
    if (!value)
      throw CLI::ValidationError(name, "takes " + takes + ", not " + quoted(text));
    target = *value;
  };
  command.add_option_function<OmString>(name, store, description)->type_name(form);
}

/// As addParsedOption(), for an option that may be given more than once: its values are added to a list.
template <typename Value, typename Read>
void addParsedOptions(CLI::App& command, const OmString& name, const OmString& form, std::vector<Value>& values,
                      const Read& read, const OmString& takes, const OmString& description)
{
  const auto store = [name, takes, read, &values](const std::vector<OmString>& texts)
  {
    for (const OmString& text : texts)
    {
      const auto value = read(text);
      if (!value)
        throw CLI::ValidationError(name, "takes " + takes + ", not " + quoted(text));
      values.push_back(*value);
    }
  };
  command.add_option_function<std::vector<OmString>>(name, store, description)
      ->type_name(form)
      ->allow_extra_args(false);
}

#endif
