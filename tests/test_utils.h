#ifndef _TEST_UTILS_H
#define _TEST_UTILS_H

#include "utils/lfile.h"

#include <gtest/gtest.h>
#include <cstdint>
#include <set>
#include <string>
#include <unistd.h>
#include <vector>

// LOG.error writes to standard error, which death tests read, and exits 1.
#define EXPECT_LOG_ERROR(statement, regex) \
	EXPECT_EXIT({ LOG.muteL(); statement; }, ::testing::ExitedWithCode(1), regex)

namespace testutils {

// A fresh temporary folder, removed with its content at the end of the test.
class TempDir {
public:
	std::string path;
	TempDir();
	~TempDir();
	std::string file(const std::string & name) const;
	void write(const std::string & name, const std::string & content) const;
	std::string read(const std::string & name) const;
	// The names in the folder.
	std::set < std::string > files() const;
};

// Result of running the sorvane binary.
struct RunResult {
	int status;
	std::string out;
	std::string err;
};

// Runs a shell command (a pipeline too) inside `dir`, with no standard input.
RunResult runCommand(const std::string & command, const std::string & dir);

// Runs a shell command inside `dir` that must succeed; its standard output.
std::string runOk(const std::string & command, const std::string & dir);

// Runs the built binary with the given argument string inside `dir`.
RunResult runSorvane(const std::string & args, const std::string & dir);

// Exit status 1 with "ERROR: " and the message on standard error.
::testing::AssertionResult refused(const RunResult & r, const std::string & message);

// Exit status 0; the failure shows both outputs.
::testing::AssertionResult succeeded(const RunResult & r);

// The text holds every part; the failure names the first missing one and shows the text.
::testing::AssertionResult hasAll(const std::string & text, const std::vector < std::string > & parts);

// One command line of a table: exit status, a fragment the output must hold, one it may not
// hold, and files (blank-separated) that must not exist after the run.
struct Row {
	std::string args;
	int status;
	std::string says, never = "", not_made = "";
};

// A row refused with exit status 1 and the whole line "ERROR: <message>".
Row refusal(const std::string & args, const std::string & message);

// Runs each row's arguments after `program` inside the folder; a failure names the row.
void expectRows(const std::string & program, const TempDir & d, const std::vector < Row > & rows);

// The whole content of a file, bytes as they are.
std::string readFile(const std::string & name);

// Writes `content` gzip- or bzip2-compressed according to the name's extension.
void writeCompressed(const std::string & name, const std::string & content);

// Reads a file, decompressed according to the name's extension.
std::string readCompressed(const std::string & name);

// Log output of the library goes nowhere during unit tests.
void silenceLog();

bool has(const std::string & text, const std::string & part);
bool exists(const std::string & path);
// The blank-separated fields of a line.
std::vector < std::string > words(const std::string & line);
// The non-empty lines of a text.
std::vector < std::string > lines(const std::string & text);
// FNV-1a hash of a text, to pin an output without copying it.
uint64_t fnv1a(const std::string & text);

}

#endif
