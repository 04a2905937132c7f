#include "tools/omrender/helpFormatter.h"

#include <CLI/CLI.hpp>

std::string HelpFormatter::make_option_desc(const CLI::Option* option) const
{
  constexpr std::size_t Columns = 80;
  const std::size_t width = Columns - column_width_;
  std::string text = CLI::Formatter::make_option_desc(option);
  std::size_t start = 0;
  while (text.size() - start > width)
  {
    const std::size_t space = text.rfind(' ', start + width);
    if (space == std::string::npos || space < start)
      break;
    text[space] = '\n';
    start = space + 1;
  }
  return text;
}
