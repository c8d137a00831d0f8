#include "utils/ofile.h"
#include "utils/futils.h"

#include <boost/iostreams/filter/bzip2.hpp>
#include <boost/iostreams/filter/gzip.hpp>
#include <cstdint>

namespace bio = boost::iostreams;

ofile::ofile() {
}

ofile::ofile(std::string name, bool binary) {
	open(name, binary);
}

ofile::~ofile() {
	close();
}

bool ofile::open(std::string name, bool binary) {
	file = name;
	std::string ext = futils::extensionFile(name);
	if (ext == "gz") {
		fd.open(file.c_str(), std::ios::out | std::ios::binary);
		push(bio::gzip_compressor(bio::gzip_params(bio::gzip::default_compression, bio::gzip::deflated, 15, 8, bio::gzip::default_strategy), 4096));
	} else if (ext == "bz2") {
		fd.open(file.c_str(), std::ios::out | std::ios::binary);
		push(bio::bzip2_compressor(bio::bzip2_params(9, 30), 4096));
	} else if (binary) {
		fd.open(file.c_str(), std::ios::out | std::ios::trunc | std::ios::binary);
	} else {
		fd.open(file.c_str(), std::ios::out | std::ios::trunc);
	}
	if (fd.fail()) return false;
	push(fd);
	return true;
}

void ofile::writeString(std::string & s) {
	int32_t n = s.size();
	write((char *)&n, sizeof(int32_t));
	write(s.data(), n);
}

std::string ofile::name() {
	return file;
}

void ofile::close() {
	// Closing a complete chain flushes the compressor's trailer into the file.
	reset();
	if (fd.is_open()) fd.close();
}
