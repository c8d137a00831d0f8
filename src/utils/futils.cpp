#include "utils/futils.h"
#include "utils/ofile.h"

#include <cstdint>
#include <cstdlib>
#include <fstream>
#include <sys/stat.h>
#include <unistd.h>

namespace futils {

std::string extensionFile(const std::string & name) {
	std::string::size_type pos = name.find_last_of(".");
	if (pos == std::string::npos) return "";
	return name.substr(pos + 1);
}

bool isDirectory(const std::string & name) {
	struct stat st;
	return stat(name.c_str(), &st) == 0 && S_ISDIR(st.st_mode);
}

// A directory opens for reading on some systems but cannot be read as a file.
bool isFile(std::string name) {
	std::ifstream f(name.c_str());
	return f.good() && !isDirectory(name);
}

// Opens the file as an output would and drops it unwritten, so that nothing is left at
// the name. A device or a pipe is only asked for permission: opening a pipe would wait
// for its reader.
bool createFile(std::string name) {
	if (isSpecialFile(name)) return !isDirectory(name) && access(name.c_str(), W_OK) == 0;
	ofile f;
	return f.open(name);
}

// An existing name that is not a regular file (a device such as /dev/stdout, a pipe, a
// symbolic link) is written in place: renaming over it would replace it.
bool isSpecialFile(const std::string & name) {
	struct stat st;
	return lstat(name.c_str(), &st) == 0 && !S_ISREG(st.st_mode);
}

// In the same folder as the name, so that renaming it onto the name is atomic.
std::string temporaryName(const std::string & name) {
	return name + ".tmp" + std::to_string(getpid());
}

bool isStandardOutput(const std::string & name) {
	struct stat file, out;
	return stat(name.c_str(), &file) == 0 && fstat(1, &out) == 0 && file.st_dev == out.st_dev && file.st_ino == out.st_ino;
}

std::string canonicalName(const std::string & name) {
	char * real = realpath(name.c_str(), nullptr);
	if (!real) {
		const std::string::size_type slash = name.find_last_of('/');
		const std::string folder = slash == std::string::npos ? "." : name.substr(0, slash + 1);
		real = realpath(folder.c_str(), nullptr);
		if (!real) return name;
		std::string joined = std::string(real) + "/" + name.substr(slash == std::string::npos ? 0 : slash + 1);
		free(real);
		return joined;
	}
	std::string resolved = real;
	free(real);
	return resolved;
}

void bool2binary(const std::vector < bool > & v, std::ostream & os) {
	int32_t n = v.size();
	os.write((char *)&n, sizeof(int32_t));
	std::vector < unsigned char > bytes((n + 7) / 8, 0);
	for (int32_t i = 0 ; i < n ; i ++) if (v[i]) bytes[i >> 3] |= (unsigned char)(1 << (i & 7));
	if (!bytes.empty()) os.write((char *)bytes.data(), bytes.size());
}

bool binary2bool(std::vector < bool > & v, std::istream & is) {
	int32_t n;
	if (!is.read((char *)&n, sizeof(int32_t))) return false;
	std::vector < unsigned char > bytes;
	if (n < 0 || !readValues(is, bytes, ((int64_t)n + 7) / 8)) return false;
	v.assign(n, false);
	for (int32_t i = 0 ; i < n ; i ++) v[i] = (bytes[i >> 3] >> (i & 7)) & 1;
	return true;
}

}
