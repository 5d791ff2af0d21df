#ifndef RSMPL_CLI_REPORT_H
#define RSMPL_CLI_REPORT_H

#include "cli/convert.h"

#include <string>

// What was done, in a line without its end.
std::string summary(const Report& report);

// The same as a JSON object in a line.
std::string summary_json(const Report& report);

// A file that was not converted.
std::string failure_json(const Job& job, const std::string& reason);
std::string skipped_json(const Job& job);

// What the user should look at, each a line "rsmpl: FILE: warning: ..."; often nothing.
std::string warnings(const Report& report);

#endif
