#include "output/filter_writer.h"
#include "input/filter_reader.h"

filter_writer::filter_writer() : pos_from(0), pos_to(1000000000) {
}

void filter_writer::initialise(filter_reader & F) {
	ind_exclude = F.ind_exclude;
	ind_include = F.ind_include;
	snp_exclude = F.snp_exclude;
	snp_include = F.snp_include;
	pos_from = F.pos_from;
	pos_to = F.pos_to;
}

void filter_writer::setL(int pos) {
	pos_from = pos;
}

void filter_writer::setR(int pos) {
	pos_to = pos;
}

void filter_writer::readSnpExcludeList(std::string file) {
	filter_reader::readPositionList(file, snp_exclude, "exclude", "output");
}

void filter_writer::readSnpIncludeList(std::string file) {
	filter_reader::readPositionList(file, snp_include, "include", "output");
}

void filter_writer::readIndExcludeList(std::string file) {
	filter_reader::readNameList(file, ind_exclude, "individuals", "exclude", "output");
}

void filter_writer::readIndIncludeList(std::string file) {
	filter_reader::readNameList(file, ind_include, "individuals", "include", "output");
}

bool filter_writer::checkSnp(int pos) {
	return filter_reader::checkSnp(pos, snp_exclude, snp_include, pos_from, pos_to);
}

bool filter_writer::checkInd(std::string id) {
	return filter_reader::checkInd(id, ind_exclude, ind_include);
}
