#ifndef RSMPL_CLI_SOUND_FILE_H
#define RSMPL_CLI_SOUND_FILE_H

#include <functional>
#include <memory>
#include <mutex>
#include <sndfile.h>
#include <string>

using SoundFile = std::unique_ptr<SNDFILE, int (*)(SNDFILE*)>;

// Held while something is printed, or while what decoders print is kept away.
std::mutex& terminal();

// What `open` opens, which is one of the sf_open calls.  Throws FileError with `name` and, where
// the system has no reason of its own, `failure`.  Decoders that print lines of their own to
// standard error meanwhile are not heard.
SoundFile open_sound(const std::string& name, const char* failure,
                     const std::function<SNDFILE*()>& open);

#endif
