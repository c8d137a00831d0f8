#ifndef _SUTILS_H
#define _SUTILS_H

#include <string>
#include <vector>

// String helpers: number formatting and tokenising.
namespace sutils {
	std::string int2str(int n);
	std::string long2str(long n);
	std::string double2str(double n, int precision = 0);
	std::string int2str(const std::vector < int > & v);
	std::string bool2str(const std::vector < bool > & v);
	std::string double2str(const std::vector < double > & v, int precision = 0);
	std::string date2str(time_t * t, std::string format);
	int tokenize(std::string & s, std::vector < std::string > & out);
	int tokenize(std::string & s, std::vector < std::string > & out, std::string separators);
	int tokenize(std::string & s, std::vector < std::string > & out, int n);
	// A base-pair position read as strtol reads it (no digits read as 0). A value out of the
	// int range stops the run naming the file and its line: wrapped, it would move the site.
	int str2bp(const std::string & text, const std::string & file, int line);
}

#endif
