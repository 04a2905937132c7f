#ifndef OM_TOOLS_SIGNALS_H
#define OM_TOOLS_SIGNALS_H

/// Makes HUP, INT, TERM and XFSZ end the program, also as process 1 of a container, for which they have no default
/// action. They end it at once, except while files are written: then the first of them waits, and no other file is
/// begun. A signal that whoever started the program ignores, as nohup does with HUP, stays ignored.
void endOnSignals();

/// Ends the program if a signal waits, or if this thread's last write went beyond the limit of the file size. To be
/// called when a file is written, or the failure to do so reported.
void endIfSignalled();

/// Whether a write of this thread went beyond the limit of the file size (XFSZ) since the last call. Another thread
/// that reports the failure then calls endBySignal().
bool takeLimitSignal();

/// Waits until no file is written and ends the program by the signal, as the shell expects it.
[[noreturn]] void endBySignal(int signal);

/// While it lives, its thread writes a file. Several threads may.
class FileWriting
{
public:
  FileWriting();
  ~FileWriting();
  FileWriting(const FileWriting&) = delete;
  FileWriting& operator=(const FileWriting&) = delete;
};

#endif
