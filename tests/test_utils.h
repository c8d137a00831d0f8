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
		std::set < std::string > files() const;
};

struct RunResult {
	int status;
	std::string out;
	std::string err;
};

// Runs a shell command (a pipeline too) inside `dir`, with no standard input.
RunResult runCommand(const std::string & command, const std::string & dir);

// Standard output of a shell command inside `dir` that must succeed.
std::string runOk(const std::string & command, const std::string & dir);

RunResult runSorvane(const std::string & args, const std::string & dir);

// Exit status 1 with "ERROR: " and the message on standard error.
::testing::AssertionResult refused(const RunResult & r, const std::string & message);

::testing::AssertionResult succeeded(const RunResult & r);

::testing::AssertionResult hasAll(const std::string & text, const std::vector < std::string > & parts);

// A command line, its exit status, what its output must and may not hold, files it may not make.
struct Row {
	std::string args;
	int status;
	std::string says, never = "", not_made = "";
};

// A row refused with exit status 1 and the whole line "ERROR: <message>".
Row refusal(const std::string & args, const std::string & message);

// Runs each row's arguments after `program` inside the folder; a failure names the row.
void expectRows(const std::string & program, const TempDir & d, const std::vector < Row > & rows);

std::string readFile(const std::string & name);

// Compressed according to the name's extension.
void writeCompressed(const std::string & name, const std::string & content);

std::string readCompressed(const std::string & name);

void silenceLog();

bool has(const std::string & text, const std::string & part);
bool exists(const std::string & path);
std::vector < std::string > words(const std::string & line);
std::vector < std::string > lines(const std::string & text);
// FNV-1a hash of a text, to pin an output without copying it.
uint64_t fnv1a(const std::string & text);

}

#endif
