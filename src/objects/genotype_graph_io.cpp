#include "objects/genotype_graph.h"
#include "utils/futils.h"
#include "utils/myException.h"
#include "utils/sutils.h"

#include <algorithm>
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
	check(f.readString(name), "name");
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
