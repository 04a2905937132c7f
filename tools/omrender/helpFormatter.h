#ifndef OM_TOOLS_HELP_FORMATTER_H
#define OM_TOOLS_HELP_FORMATTER_H

#include <CLI/Formatter.hpp>

/// Breaks the descriptions of options, so that help fits a terminal of 80 columns.
class HelpFormatter : public CLI::Formatter
{
public:
  std::string make_option_desc(const CLI::Option* option) const override;
};

#endif
