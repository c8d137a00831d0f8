#ifndef _GLOBALS_H
#define _GLOBALS_H

#include <ctime>
#include <string>

#define SORVANE_REVISION 904
// SORVANE_VERSION, the release "major.minor.revision", comes from the project's version in
// CMakeLists.txt, which the manual page shows too.

// Set by main before anything else; the log and the output headers print it.
extern time_t START_DATE;
// The command line as given, words joined by blanks; the VCF headers print it.
extern std::string COMMAND_LINE;
// Whether the alleles of a site may be swapped when matched with another data set.
extern unsigned char flippable;

#endif
