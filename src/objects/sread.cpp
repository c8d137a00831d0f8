#include "objects/sread.h"
#include "utils/lfile.h"
#include "utils/sutils.h"

sread::sread(std::string _name, int n) : name(_name), probs(n, -1.0f), paired(0), read1(0), read2(0) {
}

int sread::countHets() const {
	int n = 0;
	for (float p : probs) if (p >= 0) n ++;
	return n;
}

double sread::computeProb(const std::vector < bool > & hap) const {
	double prob = 1.0;
	for (unsigned int k = 0 ; k < probs.size() ; k ++) if (probs[k] >= 0) prob *= hap[k] ? probs[k] : 1.0 - probs[k];
	return prob;
}

void sread::verbose() const {
	LOG.println(name + " r1=" + sutils::int2str(read1) + " r2=" + sutils::int2str(read2) + " " + toString());
}

std::string sread::toString() const {
	std::string s;
	for (unsigned int k = 0 ; k < probs.size() ; k ++) s += (k ? " " : "") + sutils::double2str(probs[k], 3);
	return s;
}
