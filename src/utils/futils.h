#ifndef _FUTILS_H
#define _FUTILS_H

#include <iostream>
#include <string>
#include <vector>

// File helpers: extensions, existence, and the bit-vector layout of the binary graph files.
namespace futils {
	std::string extensionFile(const std::string & name);
	bool isFile(std::string name);
	bool createFile(std::string name);
	void bool2binary(const std::vector < bool > & v, std::ostream & os);
	bool binary2bool(std::vector < bool > & v, std::istream & is);
}

#endif
