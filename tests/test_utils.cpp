#include "test_utils.h"
#include "utils/ifile.h"
#include "utils/ofile.h"

#include <cstdio>
#include <cstdlib>
#include <dirent.h>
#include <fstream>
#include <sstream>
#include <sys/wait.h>

namespace testutils {

TempDir::TempDir() {
	char tmpl[] = "/tmp/sorvane_test_XXXXXX";
	if (!mkdtemp(tmpl)) abort();
	path = tmpl;
}

TempDir::~TempDir() {
	std::string cmd = "rm -rf '" + path + "'";
	if (system(cmd.c_str()) != 0) fprintf(stderr, "could not remove %s\n", path.c_str());
}

std::string TempDir::file(const std::string & name) const { return path + "/" + name; }

void TempDir::write(const std::string & name, const std::string & content) const {
	std::ofstream f(file(name).c_str(), std::ios::binary);
	f << content;
}

std::string TempDir::read(const std::string & name) const { return readFile(file(name)); }

std::set < std::string > TempDir::files() const {
	std::set < std::string > names;
	DIR * dir = opendir(path.c_str());
	for (dirent * e = readdir(dir) ; e ; e = readdir(dir)) if (std::string(e->d_name) != "." && std::string(e->d_name) != "..") names.insert(e->d_name);
	closedir(dir);
	return names;
}

std::string readFile(const std::string & name) {
	std::ifstream f(name.c_str(), std::ios::binary);
	std::stringstream s;
	s << f.rdbuf();
	return s.str();
}

RunResult runCommand(const std::string & command, const std::string & dir) {
	std::string out = dir + "/.stdout", err = dir + "/.stderr";
	std::string cmd = "cd '" + dir + "' && (" + command + ") > .stdout 2> .stderr < /dev/null";
	int raw = system(cmd.c_str());
	RunResult r { WIFEXITED(raw) ? WEXITSTATUS(raw) : -1, readFile(out), readFile(err) };
	remove(out.c_str());
	remove(err.c_str());
	return r;
}

std::string runOk(const std::string & command, const std::string & dir) {
	RunResult r = runCommand(command, dir);
	EXPECT_EQ(r.status, 0) << command << "\n" << r.err;
	return r.out;
}

RunResult runSorvane(const std::string & args, const std::string & dir) { return runCommand(std::string(SORVANE_BIN) + " " + args, dir); }

::testing::AssertionResult refused(const RunResult & r, const std::string & message) {
	if (r.status == 1 && has(r.err, "ERROR: " + message)) return ::testing::AssertionSuccess();
	return ::testing::AssertionFailure() << "status " << r.status << ", standard error:\n" << r.err;
}

::testing::AssertionResult succeeded(const RunResult & r) {
	if (r.status == 0) return ::testing::AssertionSuccess();
	return ::testing::AssertionFailure() << "status " << r.status << "\n" << r.out << r.err;
}

::testing::AssertionResult hasAll(const std::string & text, const std::vector < std::string > & parts) {
	for (const std::string & p : parts) if (!has(text, p)) return ::testing::AssertionFailure() << "missing [" << p << "] in:\n" << text;
	return ::testing::AssertionSuccess();
}

Row refusal(const std::string & args, const std::string & message) { return Row { args, 1, "ERROR: " + message + "\n" }; }

void expectRows(const std::string & program, const TempDir & d, const std::vector < Row > & rows) {
	for (const Row & row : rows) {
		RunResult r = runCommand(program + " " + row.args, d.path);
		const std::string all = r.out + r.err;
		EXPECT_TRUE(r.status == row.status && has(all, row.says) && (row.never.empty() || !has(all, row.never))) << row.args << "\nstatus " << r.status << "\n" << all;
		for (const std::string & f : words(row.not_made)) EXPECT_FALSE(exists(d.file(f))) << row.args << ": " << f;
	}
}

void writeCompressed(const std::string & name, const std::string & content) {
	ofile f(name);
	f << content;
	f.close();
}

std::string readCompressed(const std::string & name) {
	ifile f(name);
	std::stringstream s;
	s << f.rdbuf();
	return s.str();
}

bool has(const std::string & text, const std::string & part) { return text.find(part) != std::string::npos; }

bool exists(const std::string & path) { return access(path.c_str(), F_OK) == 0; }

uint64_t fnv1a(const std::string & text) {
	uint64_t hash = 0xcbf29ce484222325ULL;
	for (unsigned char c : text) hash = (hash ^ c) * 0x100000001b3ULL;
	return hash;
}

std::vector < std::string > words(const std::string & line) {
	std::istringstream s(line);
	std::vector < std::string > out;
	std::string w;
	while (s >> w) out.push_back(w);
	return out;
}

std::vector < std::string > lines(const std::string & text) {
	std::vector < std::string > out;
	std::istringstream s(text);
	std::string l;
	while (std::getline(s, l)) if (!l.empty()) out.push_back(l);
	return out;
}

void silenceLog() { LOG.muteC(); LOG.muteL(); }

}
