#include "utils/ofile.h"
#include "utils/futils.h"
#include "utils/lfile.h"
#include "utils/output_set.h"

#include <boost/iostreams/filter/bzip2.hpp>
#include <boost/iostreams/filter/gzip.hpp>
#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <iostream>
#include <unistd.h>

namespace bio = boost::iostreams;

// Last link of the chain. A write that the file refuses throws: the file stream itself,
// as a sink, would only report no progress, and a compressor flushing its end into it
// would retry for ever.
class checked_output {
public:
	typedef char char_type;
	typedef bio::sink_tag category;

	std::ostream * fd;
	int * error;

	checked_output(std::ostream * _fd, int * _error) : fd(_fd), error(_error) {}

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
	if (!opened) return;
	release();
	if (target != file) OUTPUTS.drop(target);
}

bool ofile::open(std::string name, bool binary, bool at_once) {
	file = name;
	error = 0;
	now = at_once;
	if (name == "-") {
		target = name;
		opened = true;
		push(checked_output(&std::cout, &error));
		return true;
	}
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
	opened = true;
	if (!in_place) OUTPUTS.add(target, name);
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
	opened = false;
	if (file == "-") {
		std::cout.flush();
		ok = ok && std::cout.good();
	} else {
		fd.flush();
		ok = ok && fd.good();
		fd.close();
		ok = ok && !fd.fail();
	}
	if (!ok && !error) error = errno;
	return ok;
}

void ofile::close() {
	if (!opened) {
		reset();
		return;
	}
	bool ok = release();
	if (ok && target != file && !OUTPUTS.done(target, now)) {
		ok = false;
		error = errno;
	}
	if (ok) return;
	if (target != file) OUTPUTS.drop(target);
	LOG.error("Writing to file [" + file + "] failed" + (error ? ": " + std::string(strerror(error)) : ""));
}
