#include "utils/sutils.h"

#include "utils/lfile.h"

#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <sstream>

namespace sutils {

std::string int2str(int n) {
	return std::to_string(n);
}

std::string long2str(long n) {
	return std::to_string(n);
}

std::string double2str(double n, int precision) {
	std::ostringstream s;
	if (precision > 0) s.precision(precision);
	s << std::fixed << n;
	return s.str();
}

std::string int2str(const std::vector < int > & v) {
	std::ostringstream s;
	for (int x : v) {
		if (x < 0) s << "-";
		else s << x;
	}
	return s.str();
}

std::string bool2str(const std::vector < bool > & v) {
	std::string s(v.size(), '0');
	for (size_t i = 0 ; i < v.size() ; i ++) if (v[i]) s[i] = '1';
	return s;
}

std::string double2str(const std::vector < double > & v, int precision) {
	std::ostringstream s;
	if (precision > 0) s.precision(precision);
	for (double x : v) s << std::fixed << x << " ";
	return s.str();
}

std::string date2str(time_t * t, std::string format) {
	struct tm * tm_info = localtime(t);
	char buffer[128];
	strftime(buffer, 128, format.c_str(), tm_info);
	return std::string(buffer);
}

std::string duration2str(double seconds) {
	if (seconds < 60) return double2str(seconds, 2) + " s";
	long whole = (long)(seconds + 0.5);
	char text[32];
	if (whole < 3600) snprintf(text, sizeof(text), "%ldm%02lds", whole / 60, whole % 60);
	else snprintf(text, sizeof(text), "%ldh%02ldm", whole / 3600, (whole % 3600) / 60);
	return text;
}

int tokenize(std::string & s, std::vector < std::string > & out, std::string separators) {
	out.clear();
	std::string::size_type last = s.find_first_not_of(separators, 0);
	std::string::size_type pos = s.find_first_of(separators, last);
	while (std::string::npos != pos || std::string::npos != last) {
		out.push_back(s.substr(last, pos - last));
		last = s.find_first_not_of(separators, pos);
		pos = s.find_first_of(separators, last);
	}
	// Files written with CR LF line ends leave a carriage return on the last token.
	if (!out.empty() && !out.back().empty() && out.back().back() == '\r') {
		out.back().pop_back();
		if (out.back().empty()) out.pop_back();
	}
	return out.size();
}

int tokenize(std::string & s, std::vector < std::string > & out) {
	return tokenize(s, out, " \t");
}

int tokenize(std::string & s, std::vector < std::string > & out, int n) {
	out.clear();
	const std::string separators = " \t";
	std::string::size_type last = s.find_first_not_of(separators, 0);
	std::string::size_type pos = s.find_first_of(separators, last);
	while ((std::string::npos != pos || std::string::npos != last) && (int)out.size() < n) {
		out.push_back(s.substr(last, pos - last));
		last = s.find_first_not_of(separators, pos);
		pos = s.find_first_of(separators, last);
	}
	return out.size();
}

int str2bp(const std::string & text, const std::string & file, int line, bool whole) {
	const char * begin = text.c_str();
	char * end;
	errno = 0;
	long long bp = strtoll(begin, &end, 10);
	std::string where = " at line " + int2str(line) + " of [" + file + "]";
	if (whole && (end == begin || end[strspn(end, " \t\r")] != '\0')) LOG.error("Position " + text + where + " is not a whole number");
	if (errno == ERANGE || bp < INT_MIN || bp > INT_MAX) LOG.error("Position " + text + where + " is out of range: positions go up to " + int2str(INT_MAX));
	return bp;
}

bool str2allele(const std::string & text, const std::string & file, int line) {
	if (text != "0" && text != "1") LOG.error("Allele code [" + text + "] at line " + int2str(line) + " of [" + file + "]: a haplotype allele is 0 or 1");
	return text == "1";
}

}
