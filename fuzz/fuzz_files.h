#ifndef _FUZZ_FILES_H
#define _FUZZ_FILES_H

#include "input/genotype_reader.h"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <vector>

// One fuzzer input holds all the files a reader takes, in order, separated by lines
// "--8<--". The parts are written under the given names into a private temporary folder
// (the names carry the extensions the readers look at); missing parts are empty files and
// the last file takes whatever follows.
std::vector < std::string > writeFuzzFiles(const uint8_t * data, size_t size, const std::vector < std::string > & names);

// Runs one read. A refusal through the log's error or an exception is the expected end of
// most inputs; crashes, sanitizer reports, hangs and runaway memory are the findings.
void runReader(const std::function < void () > & read);

// The same with a genotype store over open filters, as the modes make it.
void runGenotypeReader(const std::function < void (genotype_reader &) > & read);

#endif
