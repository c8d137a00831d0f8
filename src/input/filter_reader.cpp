#include "input/filter_reader.h"
#include "utils/ifile.h"
#include "utils/lfile.h"
#include "utils/sutils.h"

#include <algorithm>

filter_reader::filter_reader() : pos_from(0), pos_to(1000000000) {
}

void filter_reader::initialise(int _pos_from, int _pos_to) {
	pos_from = _pos_from;
	pos_to = _pos_to;
}

// Prints "\nReading SNPs to <which> from <direction> file in [file]" and, for a
// non-empty file, the number of lines read. Each line's leading integer is the position.
void filter_reader::readPositionList(std::string file, std::map < int, bool > & list, std::string which, std::string direction) {
	LOG.println("\nReading SNPs to " + which + " from " + direction + " file in [" + file + "]");
	ifile fd;
	if (!fd.open(file)) LOG.error("Impossible to open file [" + file + "]");
	std::string line;
	int n = 0;
	while (getline(fd, line)) {
		n ++;
		list[sutils::str2bp(line, file, n, false)] = true;
	}
	fd.close();
	if (n) LOG.println("  * " + sutils::int2str(n) + " snps found in the " + which + " list");
}

// As readPositionList, but each whole line, untrimmed, is a key.
void filter_reader::readNameList(std::string file, std::map < std::string, bool > & list, std::string what, std::string which, std::string direction) {
	LOG.println("\nReading " + what + " to " + which + " from " + direction + " file in [" + file + "]");
	ifile fd;
	if (!fd.open(file)) LOG.error("Impossible to open file [" + file + "]");
	std::string line;
	int n = 0;
	while (getline(fd, line)) {
		list[line] = false;
		n ++;
	}
	fd.close();
	if (n) LOG.println("  * " + sutils::int2str(n) + " " + what + " found in the " + which + " list");
}

void filter_reader::readSnpExcludeList(std::string file) {
	readPositionList(file, snp_exclude, "exclude", "input");
}

void filter_reader::readSnpIncludeList(std::string file) {
	readPositionList(file, snp_include, "include", "input");
}

void filter_reader::readIndExcludeList(std::string file) {
	readNameList(file, ind_exclude, "individuals", "exclude", "input");
}

void filter_reader::readIndIncludeList(std::string file) {
	readNameList(file, ind_include, "individuals", "include", "input");
}

void filter_reader::readGrpExcludeList(std::string file) {
	readNameList(file, grp_exclude, "groups", "exclude", "input");
}

void filter_reader::readGrpIncludeList(std::string file) {
	readNameList(file, grp_include, "groups", "include", "input");
}

bool filter_reader::checkSnp(int pos, const std::map < int, bool > & exclude, const std::map < int, bool > & include, int from, int to) {
	if (exclude.count(pos)) return false;
	if (!include.empty() && !include.count(pos)) return false;
	return from <= pos && pos < to;
}

bool filter_reader::checkInd(const std::string & id, const std::map < std::string, bool > & exclude, const std::map < std::string, bool > & include) {
	if (exclude.count(id)) return false;
	if (include.empty()) return true;
	return include.count(id) > 0;
}

bool filter_reader::checkSnp(int pos) {
	return checkSnp(pos, snp_exclude, snp_include, pos_from, pos_to);
}

bool filter_reader::checkChromosome(const std::string & chr) {
	return chromosome.empty() || chr == chromosome;
}

// A whole non-negative number that fits an int.
static bool wholeNumber(const std::string & text, int & value) {
	if (text.empty() || text.size() > 10 || text.find_first_not_of("0123456789") != std::string::npos) return false;
	long v = std::stol(text);
	value = (int)v;
	return v <= 2147483647L;
}

bool filter_reader::parseRegion(const std::string & region, std::string & chr, int & from, int & to) {
	from = 0;
	to = 2147483647;
	size_t colon = region.rfind(':');
	std::string span;
	if (colon != std::string::npos) {
		chr = region.substr(0, colon);
		span = region.substr(colon + 1);
		if (chr.empty()) return false;
	} else if (region.find('-') != std::string::npos && region.find_first_not_of("0123456789-") == std::string::npos) {
		chr.clear();
		span = region;
	} else {
		chr = region;
		return !chr.empty();
	}
	size_t dash = span.find('-');
	bool open_end = dash == std::string::npos || dash + 1 == span.size();
	if (!wholeNumber(span.substr(0, dash), from)) return false;
	if (!open_end && !wholeNumber(span.substr(dash + 1), to)) return false;
	// Positions alone need both ends.
	if (chr.empty() && open_end) return false;
	return from <= to;
}

void filter_reader::checkRegion(const std::string & region) {
	std::string chr;
	int from, to;
	if (!parseRegion(region, chr, from, to)) LOG.error("The region [" + region + "] is not of the form CHR, CHR:FROM-TO or FROM-TO with FROM <= TO");
}

void filter_reader::setRegion(const std::string & region) {
	int from, to;
	checkRegion(region);
	parseRegion(region, chromosome, from, to);
	pos_from = std::max(pos_from, from);
	// The window's end is exclusive.
	if (to < pos_to) pos_to = to + 1;
}

bool filter_reader::checkInd(std::string id) {
	return checkInd(id, ind_exclude, ind_include);
}

bool filter_reader::checkGrp(std::string group1, std::string group2) {
	if (grp_exclude.count(group1) || grp_exclude.count(group2)) return false;
	if (grp_include.empty()) return true;
	return grp_include.count(group1) || grp_include.count(group2);
}
