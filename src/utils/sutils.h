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
	// A duration: "0.42 s" under a minute, "3m07s" under an hour, "2h05m" beyond.
	std::string duration2str(double seconds);
	int tokenize(std::string & s, std::vector < std::string > & out);
	int tokenize(std::string & s, std::vector < std::string > & out, std::string separators);
	int tokenize(std::string & s, std::vector < std::string > & out, int n);
	// A base-pair position. With `whole` the text must be a whole number, blanks around it
	// allowed; otherwise its leading number is read as strtol reads it, no number reading
	// as 0 (the site lists). A value out of the int range, or a malformed whole number,
	// stops the run naming the file and its line: wrapped, or read as far as it parses,
	// it would silently move the site.
	int str2bp(const std::string & text, const std::string & file, int line, bool whole = true);
	// A haplotype allele: "0" or "1"; anything else stops the run naming the file and line.
	bool str2allele(const std::string & text, const std::string & file, int line);
}

#endif
