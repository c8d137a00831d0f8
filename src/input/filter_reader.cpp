#include "input/filter_reader.h"
#include "utils/ifile.h"
#include "utils/lfile.h"
#include "utils/sutils.h"

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

bool filter_reader::checkInd(std::string id) {
	return checkInd(id, ind_exclude, ind_include);
}

bool filter_reader::checkGrp(std::string group1, std::string group2) {
	if (grp_exclude.count(group1) || grp_exclude.count(group2)) return false;
	if (grp_include.empty()) return true;
	return grp_include.count(group1) || grp_include.count(group2);
}
