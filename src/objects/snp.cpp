#include "objects/snp.h"
#include "utils/globals.h"

snp::snp() : cm(-1.0), bp(0), idx(-1), source(0), ref_a1(false) {
}

snp::snp(std::string _chr, int _bp, std::string _a0, std::string _a1, char _source) :
	chr(_chr), a0(_a0), a1(_a1), cm(-1.0), bp(_bp), idx(-1), source(_source), ref_a1(false) {
}

snp::snp(snp * other) : snp(*other) {
}

// A monomorphic site of a PED file has no second allele, one character in a0 is enough.
bool snp::isSNP() {
	if (source == 1 && a1.empty()) return a0.size() == 1;
	return a0.size() == 1 && a1.size() == 1;
}

std::string snp::get(bool b) {
	return b ? a1 : a0;
}

// Alleles of a PED site come as they are met: the first seen is coded 0, the second 1.
int snp::push(std::string a) {
	if (a0.empty()) a0 = a;
	if (a0 == a) return 0;
	if (a1.empty()) a1 = a;
	if (a1 == a) return 1;
	return -1;
}

int snp::strand(std::string & x0, std::string & x1) {
	if (a0 == x0 && a1 == x1) return 0;
	if (!flippable) return -1;
	if (a0 == x1 && a1 == x0) return 1;
	return -1;
}
