#ifndef _GLOBALS_H
#define _GLOBALS_H

#include <ctime>

#define SORVANE_REVISION 904

// Set by main before anything else; the log and the output headers print it.
extern time_t START_DATE;
// Whether the alleles of a site may be swapped when matched with another data set.
extern unsigned char flippable;

#endif
