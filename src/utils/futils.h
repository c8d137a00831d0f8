#ifndef _FUTILS_H
#define _FUTILS_H

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
	void bool2binary(const std::vector < bool > & v, std::ostream & os);
	bool binary2bool(std::vector < bool > & v, std::istream & is);

	// One value in native byte order, as the binary graph files hold them.
	template < class T > bool readValue(std::istream & is, T & v) {
		return (bool)is.read((char *)&v, sizeof(T));
	}
	template < class T > void writeValue(std::ostream & os, const T & v) {
		os.write((const char *)&v, sizeof(T));
	}
}

#endif
