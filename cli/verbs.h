#ifndef RSMPL_CLI_VERBS_H
#define RSMPL_CLI_VERBS_H

namespace CLI
{
class App;
}

// Each adds its verb to the command line.  Where the user names it, parsing runs it, and sets
// `status`, which has to live until then, to the exit status.  Wrong usage is a CLI::ParseError,
// other failures are std::runtime_error.
void add_info(CLI::App& app, int& status);
void add_response(CLI::App& app, int& status);
void add_selftest(CLI::App& app, int& status);

// What has been printed must have arrived, else throws FileError; where nobody reads it any more
// there is nobody to tell, ClosedPipe.
void finish_printing();

#endif
