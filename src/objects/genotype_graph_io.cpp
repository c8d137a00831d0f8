#include "objects/genotype_graph.h"
#include "utils/futils.h"
#include "utils/myException.h"
#include "utils/sutils.h"

#include <algorithm>
#include <cmath>
#include <cstdint>

using futils::readValue;
using futils::writeValue;

namespace {

void writeByte(ofile & f, unsigned char b) {
	writeValue(f, b);
}

void writeInt(ofile & f, int32_t v) {
	writeValue(f, v);
}

void writeStrings(ofile & f, std::vector < std::string > & v) {
	writeInt(f, v.size());
	for (std::string & s : v) f.writeString(s);
}

// A count, then the values in native byte order.
template < class T > void writeArray(ofile & f, const std::vector < T > & v) {
	writeInt(f, v.size());
	f.write((const char *)v.data(), v.size() * sizeof(T));
}

void check(bool ok, const std::string & what) {
	if (!ok) throw myException("read " + what + " failed");
}

bool readFlag(ifile & f, bool & flag) {
	unsigned char b;
	if (!readValue(f, b)) return false;
	flag = b != 0;
	return true;
}

// A count, then the values; the failure names the first value not read whole.
template < class T > void readArray(ifile & f, std::vector < T > & v, const std::string & name) {
	int32_t n;
	check(readValue(f, n) && n >= 0, "#" + name);
	if (!futils::readValues(f, v, n)) throw myException("read " + name + " " + sutils::int2str(v.size()) + " failed");
	// Graphs keep their vectors at exact size.
	v.shrink_to_fit();
}

// The sample columns of one member; prefix is "", "f" or "m".
void readProperties(ifile & f, std::vector < std::string > & v, const std::string & prefix) {
	int32_t n;
	check(readValue(f, n) && n >= 0, "number of " + prefix + "properties");
	// One by one: a corrupt count then ends at the end of the file, not in a huge allocation.
	v.clear();
	for (int i = 0 ; i < n ; i ++) {
		v.push_back("");
		check(f.readString(v.back()), prefix + "property n=" + sutils::int2str(i));
	}
}

// From the transitions to the segment sizes: the part common to all versions.
void readGraphBody(ifile & f, genotype_graph & g) {
	readArray(f, g.trans, "trans");
	readArray(f, g.probs, "probs");
	readArray(f, g.probsI, "probsI");
	readArray(f, g.probsC, "probsC");
	check(futils::binary2bool(g.Ambs, f), "Ambs vector");
	check(g.Haps.read(f), "Haps vector");
	readArray(f, g.HapsI, "HapsI");
	readArray(f, g.HapsC, "HapsC");
	readArray(f, g.HapsS, "HapsS");
}

}

void genotype_graph::writeBinary(ofile & f) {
	writeByte(f, type);
	writeInt(f, famID);
	f.writeString(name);
	writeInt(f, index);
	writeStrings(f, properties);
	f.writeString(fname);
	writeByte(f, fmain);
	writeInt(f, findex);
	writeStrings(f, fproperties);
	f.writeString(mname);
	writeByte(f, mmain);
	writeInt(f, mindex);
	writeStrings(f, mproperties);
	writeArray(f, trans);
	writeArray(f, probs);
	writeArray(f, probsI);
	writeArray(f, probsC);
	futils::bool2binary(Ambs, f);
	Haps.write(f);
	writeArray(f, HapsI);
	writeArray(f, HapsC);
	writeArray(f, HapsS);
}

void genotype_graph::readBinary(ifile & f) {
	check(readValue(f, type), "genotype_graph type");
	check(readValue(f, famID), "famID");
	// A name cut short would be reported as the graph's sample.
	if (!f.readString(name)) {
		name.clear();
		check(false, "name");
	}
	check(readValue(f, index), "index");
	readProperties(f, properties, "");
	check(f.readString(fname), "fname");
	check(readFlag(f, fmain), "fmain");
	check(readValue(f, findex), "findex");
	readProperties(f, fproperties, "f");
	check(f.readString(mname), "mname");
	check(readFlag(f, mmain), "mmain");
	check(readValue(f, mindex), "mindex");
	readProperties(f, mproperties, "m");
	readGraphBody(f, *this);
}

void genotype_graph::readBinary20(ifile & f) {
	check(readValue(f, type), "genotype_graph type");
	readGraphBody(f, *this);
}

namespace {

// A state as a key: one nibble a track. The two tracks of an unrelated unit without
// scaffold are an unordered pair (as `linked` takes them), so its key is sorted.
unsigned int stateKey(const unsigned char * bytes, int n, bool next, bool unordered) {
	unsigned int k[4];
	for (int j = 0 ; j < n ; j ++) k[j] = next ? bytes[j] >> 4 : bytes[j] & 15;
	if (unordered && k[0] > k[1]) std::swap(k[0], k[1]);
	unsigned int key = 0;
	for (int j = 0 ; j < n ; j ++) key = (key << 4) | k[j];
	return key;
}

}

// The distinct states that the transitions of group g lead to (next) or come from.
void genotype_graph::stateKeys(size_t g, bool next, std::vector < unsigned int > & keys) const {
	keys.clear();
	for (unsigned int t = probsI[g] ; t < probsI[g] + probsC[g] ; t ++) keys.push_back(stateKey(&trans[t * type], type, next, type == 2 && !scaffolded));
	std::sort(keys.begin(), keys.end());
	keys.erase(std::unique(keys.begin(), keys.end()), keys.end());
}

std::string genotype_graph::structuralFault(int n_sites) const {
	if (type < 1 || type > 4) return "type " + sutils::int2str(type) + " is none of haploid (1), unrelated (2), duo (3) and trio (4)";
	const int n = type;
	const size_t S = HapsC.size();
	if (HapsI.size() != S || HapsS.size() != S) return "segment counters of different lengths";
	if (S == 0) return "no segment";
	uint64_t bits = 0, covered = 0;
	for (size_t s = 0 ; s < S ; s ++) {
		if (HapsC[s] < 1 || HapsC[s] > 8) return "segment " + sutils::int2str(s) + " has " + sutils::long2str(HapsC[s]) + " fragments (1 to 8)";
		if (HapsS[s] < 1) return "segment " + sutils::int2str(s) + " has no site";
		if (HapsI[s] != bits) return "segment " + sutils::int2str(s) + " does not start where the one before ends";
		bits += (uint64_t)HapsC[s] * HapsS[s];
		covered += HapsS[s];
	}
	if (covered != (uint64_t)n_sites) return "segments cover " + sutils::long2str(covered) + " sites, the file has " + sutils::int2str(n_sites);
	if (bits != (uint64_t)Haps.size()) return "fragments hold " + sutils::long2str(bits) + " bits, the graph " + sutils::int2str(Haps.size());
	if (Ambs.size() != (size_t)n_sites) return "ambiguity flags for " + sutils::long2str(Ambs.size()) + " sites, the file has " + sutils::int2str(n_sites);
	if (probsI.size() != S + 1 || probsC.size() != S + 1) return "transition counters for " + sutils::long2str(probsC.size()) + " groups, " + sutils::long2str(S + 1) + " expected";
	uint64_t total = 0;
	for (size_t g = 0 ; g <= S ; g ++) {
		if (probsC[g] < 1) return "group " + sutils::int2str(g) + " has no transition";
		if (probsI[g] != total) return "group " + sutils::int2str(g) + " does not start where the one before ends";
		total += probsC[g];
	}
	if (total != probs.size()) return sutils::long2str(probs.size()) + " probabilities for " + sutils::long2str(total) + " transitions";
	if (trans.size() != total * n) return sutils::long2str(trans.size()) + " transition bytes for " + sutils::long2str(total) + " transitions of " + sutils::int2str(n) + " tracks";
	for (size_t t = 0 ; t < probs.size() ; t ++)
		if (!std::isfinite(probs[t]) || probs[t] < 0) return "probability " + sutils::long2str(t) + " is not a finite number from 0";
	for (size_t g = 0 ; g <= S ; g ++) {
		const unsigned int before = g ? HapsC[g - 1] : 1, after = g < S ? HapsC[g] : 1;
		for (size_t b = probsI[g] * n ; b < (probsI[g] + probsC[g]) * n ; b ++)
			if ((trans[b] & 15) >= before || (trans[b] >> 4) >= after) return "group " + sutils::int2str(g) + " names a fragment its segments do not have";
	}
	// Every transition goes on into the next group and comes from the one before.
	std::vector < unsigned int > ends, starts;
	for (size_t g = 0 ; g < S ; g ++) {
		stateKeys(g, true, ends);
		stateKeys(g + 1, false, starts);
		if (ends != starts) return "transitions of groups " + sutils::int2str(g) + " and " + sutils::int2str(g + 1) + " do not meet";
	}
	return "";
}
