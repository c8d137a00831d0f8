#include "utils/ifile.h"
#include "utils/futils.h"

#include <boost/iostreams/filter/bzip2.hpp>
#include <boost/iostreams/filter/gzip.hpp>
#include <boost/iostreams/operations.hpp>
#include <algorithm>
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

// The file stream, with the bytes already taken from its start to learn its compression
// put back in front: a pipe cannot be rewound.
class prefixed_input {
public:
	typedef char char_type;
	typedef bio::source_tag category;

	prefixed_input(const std::string & _head, std::istream * _in) : head(_head), at(0), in(_in) {}

	std::streamsize read(char * s, std::streamsize n) {
		std::streamsize k = std::min < std::streamsize > (n, head.size() - at);
		std::copy(head.data() + at, head.data() + at + k, s);
		at += k;
		if (k < n) {
			in->read(s + k, n - k);
			k += in->gcount();
		}
		return k ? k : -1;
	}

private:
	std::string head;
	size_t at;
	std::istream * in;
};

ifile::ifile() {
}

ifile::ifile(std::string name, bool binary) {
	open(name, binary);
}

ifile::~ifile() {
	close();
}

ifile::compression ifile::compressionOf(const std::string & head) {
	if (head.size() >= 2 && (unsigned char)head[0] == 0x1f && (unsigned char)head[1] == 0x8b) return GZIP;
	if (head.size() >= 3 && head.compare(0, 3, "BZh") == 0) return BZIP2;
	return PLAIN;
}

// The compression is told by the first bytes, whatever the name says: gzip (bgzip's
// BGZF too) and bzip2 have their own magic numbers.
bool ifile::open(std::string name, bool binary) {
	file = name;
	// A directory opens but fails at the first read, with a message that names no file.
	if (futils::isDirectory(name)) return false;
	fd.open(file.c_str(), binary ? std::ios::in | std::ios::binary : std::ios::in);
	if (fd.fail()) return false;
	char magic[3];
	fd.read(magic, 3);
	std::string head(magic, fd.gcount());
	fd.clear();
	switch (compressionOf(head)) {
	case GZIP:
		push(checked_input(file));
		push(bio::gzip_decompressor(15, 4096));
		break;
	case BZIP2:
		push(checked_input(file));
		push(bio::bzip2_decompressor(false, 4096));
		break;
	case PLAIN:
		break;
	}
	push(prefixed_input(head, &fd));
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
