#include "utils/futils.h"

#include <cstdint>
#include <fstream>

namespace futils {

std::string extensionFile(const std::string & name) {
	std::string::size_type pos = name.find_last_of(".");
	if (pos == std::string::npos) return "";
	return name.substr(pos + 1);
}

bool isFile(std::string name) {
	std::ifstream f(name.c_str());
	return f.good();
}

bool createFile(std::string name) {
	std::ofstream f(name.c_str());
	return f.good();
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
