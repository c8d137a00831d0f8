#ifndef _FUTILS_H
#define _FUTILS_H

#include <algorithm>
#include <cstdint>
#include <iostream>
#include <string>
#include <vector>

// File helpers: extensions, existence, and the bit-vector layout of the binary graph files.
namespace futils {
	std::string extensionFile(const std::string & name);
	bool isDirectory(const std::string & name);
	bool isFile(std::string name);
	bool createFile(std::string name);
	bool isSpecialFile(const std::string & name);
	std::string temporaryName(const std::string & name);
	// The file that standard output is (/dev/stdout, or a redirection to it).
	bool isStandardOutput(const std::string & name);
	// The absolute name with links resolved, of the file or, if it does not exist, of its folder.
	std::string canonicalName(const std::string & name);
	void bool2binary(const std::vector < bool > & v, std::ostream & os);
	// v is replaced only once all its bytes are read.
	bool binary2bool(std::vector < bool > & v, std::istream & is);

	// One value in native byte order, as the binary graph files hold them.
	template < class T > bool readValue(std::istream & is, T & v) {
		return (bool)is.read((char *)&v, sizeof(T));
	}
	template < class T > void writeValue(std::ostream & os, const T & v) {
		os.write((const char *)&v, sizeof(T));
	}

	// Reads n values of a vector or string in native byte order. The container grows by
	// bounded chunks as the values arrive, so that a corrupt count ends in a failed read at
	// the end of the stream, plain or compressed, rather than in one huge allocation. On
	// failure v holds the values read whole.
	template < class C > bool readValues(std::istream & is, C & v, int64_t n) {
		typedef typename C::value_type T;
		const int64_t chunk = 65536;
		v.clear();
		while ((int64_t)v.size() < n) {
			size_t offset = v.size(), count = std::min(chunk, n - (int64_t)offset);
			v.resize(offset + count);
			if (!is.read((char *)&v[offset], count * sizeof(T))) {
				v.resize(offset + is.gcount() / sizeof(T));
				return false;
			}
		}
		return true;
	}
}

#endif
