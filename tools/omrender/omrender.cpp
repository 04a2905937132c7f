#include "tools/omrender/display.h"
#include "tools/omrender/failure.h"
#include "tools/omrender/filter/filterCommand.h"
#include "tools/omrender/helpFormatter.h"
#include "tools/omrender/infoCommand.h"
#include "tools/omrender/libraryLog.h"
#include "tools/omrender/show/showCommand.h"
#include "tools/omrender/signals.h"

#include <CLI/CLI.hpp>

#include <cerrno>
#include <cstdio>
#include <exception>
#include <iostream>
#include <memory>
#include <new>
#include <system_error>

#include <fcntl.h>
#include <unistd.h>

namespace
{

/// Keeps the numbers of standard streams that are closed from files and connections that are opened later: what the
/// program prints must not get into them. Writing to such a stream still fails.
void keepStreams()
{
  for (int stream = STDIN_FILENO; stream <= STDERR_FILENO; ++stream)
    if (::fcntl(stream, F_GETFD) == -1)
      ::open("/dev/null", stream == STDIN_FILENO ? O_WRONLY : O_RDONLY); // gets the lowest free number
}

int fail(const OmString& message, ExitStatus status)
{
  printFailure("omrender", message);
  endIfSignalled();
  return status;
}

int run(int argc, char** argv)
{
  LibraryLog log;
  CLI::App program("Shows and filters pictures with OpenGL and tells what the graphics card offers.", "omrender");
  program.formatter(std::make_shared<HelpFormatter>());
  program.set_version_flag("--version", OM_VERSION, "Print the version and exit");
  program.require_subcommand(0, 1); // refused below when there is none: an unknown one is reported first
  program.footer("Examples:\n"
                 "  omrender info\n"
                 "  omrender info --devices\n"
                 "  omrender show photo.jpg --capture window.png\n"
                 "  omrender filter --shader edges photo.jpg --out edges.png\n"
                 "  omrender show --help");
  addInfoCommand(program, log);
  addShowCommand(program, log);
  addFilterCommand(program, log);
  int status = 0;
  try
  {
    program.parse(argc, argv);
    if (program.get_subcommands().empty())
      throw CLI::RequiredError::Subcommand(1);
  }
  catch (const CLI::Success& help)
  {
    program.exit(help); // prints the help or the version
  }
  catch (const CLI::RuntimeError& end)
  {
    status = end.get_exit_code(); // the command has reported why
  }
  catch (const CLI::ParseError& error)
  {
    return fail(OmString(error.what()) + " (omrender --help tells more)", WrongUse);
  }
  errno = 0;
  const bool isFlushed = std::fflush(stdout) == 0; // tries what failed before once more, so that errno says why
  if (!isFlushed || !std::cout)
    return fail("cannot write to standard output", statusOf(std::error_code(errno, std::generic_category())));
  printWarnings(log);
  return status;
}

} // namespace

int main(int argc, char** argv)
{
  keepStreams();
  endOnSignals();
  endOnDisplayErrors();
  try
  {
    return run(argc, argv);
  }
  catch (const std::bad_alloc&)
  {
    return fail("out of memory; use smaller pictures", OutOfRoom);
  }
  catch (const Failure& failure)
  {
    return fail(failure.what(), failure.status());
  }
  catch (const std::exception& error)
  {
    return fail(error.what(), SomeFailed);
  }
}
