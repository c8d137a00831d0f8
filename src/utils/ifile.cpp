#include "utils/ifile.h"
#include "utils/futils.h"

#include <boost/iostreams/filter/bzip2.hpp>
#include <boost/iostreams/filter/gzip.hpp>
#include <boost/iostreams/operations.hpp>
#include <cstdint>

namespace bio = boost::iostreams;

// Sits on top of a decompressor and turns the library's errors into a failure that names
// the file. The stream is set to rethrow it (badbit), so a reader never mistakes a broken
// file for its end.
class checked_input {
public:
	typedef char char_type;
	typedef bio::multichar_input_filter_tag category;

	std::string file;

	explicit checked_input(const std::string & name) : file(name) {}

	template < typename Source >
	std::streamsize read(Source & src, char * s, std::streamsize n) {
		try {
			return bio::read(src, s, n);
		} catch (const std::exception &) {
			throw std::ios_base::failure("File [" + file + "] is corrupted or truncated");
		}
	}
};

ifile::ifile() {
}

ifile::ifile(std::string name, bool binary) {
	open(name, binary);
}

ifile::~ifile() {
	close();
}

bool ifile::open(std::string name, bool binary) {
	file = name;
	// A directory opens but fails at the first read, with a message that names no file.
	if (futils::isDirectory(name)) return false;
	std::string ext = futils::extensionFile(name);
	if (ext == "gz") {
		fd.open(file.c_str(), std::ios::in | std::ios::binary);
		push(checked_input(file));
		push(bio::gzip_decompressor(15, 4096));
	} else if (ext == "bz2") {
		fd.open(file.c_str(), std::ios::in | std::ios::binary);
		push(checked_input(file));
		push(bio::bzip2_decompressor(false, 4096));
	} else if (binary) {
		fd.open(file.c_str(), std::ios::in | std::ios::binary);
	} else {
		fd.open(file.c_str());
	}
	if (fd.fail()) return false;
	push(fd);
	// A stream opened again after reading to its end starts with clean flags.
	clear();
	exceptions(std::ios::badbit);
	return true;
}

bool ifile::readString(std::string & s) {
	int32_t n;
	if (!read((char *)&n, sizeof(int32_t))) return false;
	return n >= 0 && futils::readValues(*this, s, n);
}

std::string ifile::name() {
	return file;
}

void ifile::close() {
	exceptions(std::ios::goodbit);
	reset();
	if (fd.is_open()) fd.close();
}
