#include "utils/ofile.h"
#include "utils/futils.h"
#include "utils/lfile.h"

#include <boost/iostreams/filter/bzip2.hpp>
#include <boost/iostreams/filter/gzip.hpp>
#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <unistd.h>

namespace bio = boost::iostreams;

// Last link of the chain. A write that the file refuses throws: the file stream itself,
// as a sink, would only report no progress, and a compressor flushing its end into it
// would retry for ever.
class checked_output {
public:
	typedef char char_type;
	typedef bio::sink_tag category;

	std::ofstream * fd;
	int * error;

	checked_output(std::ofstream * _fd, int * _error) : fd(_fd), error(_error) {}

	std::streamsize write(const char * s, std::streamsize n) {
		if (fd->write(s, n)) return n;
		if (!*error) *error = errno;
		throw std::ios_base::failure("write failed");
	}
};

ofile::ofile() {
}

ofile::ofile(std::string name, bool binary) {
	open(name, binary);
}

ofile::~ofile() {
	if (!fd.is_open()) return;
	release();
	if (target != file) std::remove(target.c_str());
}

bool ofile::open(std::string name, bool binary) {
	file = name;
	error = 0;
	bool in_place = futils::isSpecialFile(name);
	// An existing file that may not be written stays refused, though renaming could replace it.
	if (!in_place && access(name.c_str(), F_OK) == 0 && access(name.c_str(), W_OK) != 0) return false;
	target = in_place ? name : futils::temporaryName(name);
	std::string ext = futils::extensionFile(name);
	if (ext == "gz") {
		fd.open(target.c_str(), std::ios::out | std::ios::binary);
		push(bio::gzip_compressor(bio::gzip_params(bio::gzip::default_compression, bio::gzip::deflated, 15, 8, bio::gzip::default_strategy), 4096));
	} else if (ext == "bz2") {
		fd.open(target.c_str(), std::ios::out | std::ios::binary);
		push(bio::bzip2_compressor(bio::bzip2_params(9, 30), 4096));
	} else if (binary) {
		fd.open(target.c_str(), std::ios::out | std::ios::trunc | std::ios::binary);
	} else {
		fd.open(target.c_str(), std::ios::out | std::ios::trunc);
	}
	if (fd.fail()) return false;
	push(checked_output(&fd, &error));
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

// Closes the chain, which flushes the compressor's end, then the file; true if every step
// succeeded. The cause of the first failure stays in `error`.
bool ofile::release() {
	bool ok = true;
	try {
		flush();
		ok = good();
		reset();
	} catch (const std::exception &) {
		ok = false;
	}
	errno = 0;
	fd.flush();
	ok = ok && fd.good();
	fd.close();
	ok = ok && !fd.fail();
	if (!ok && !error) error = errno;
	return ok;
}

void ofile::close() {
	if (!fd.is_open()) {
		reset();
		return;
	}
	bool ok = release();
	if (ok && target != file && std::rename(target.c_str(), file.c_str()) != 0) {
		ok = false;
		error = errno;
	}
	if (ok) return;
	if (target != file) std::remove(target.c_str());
	LOG.error("Writing to file [" + file + "] failed" + (error ? ": " + std::string(strerror(error)) : ""));
}
