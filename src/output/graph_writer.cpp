#include "output/graph_writer.h"
#include "utils/futils.h"
#include "utils/lfile.h"

#include <cstdint>

namespace {

void writeByte(ofile & f, unsigned char b) {
	f.write((const char *)&b, 1);
}

void writeInt(ofile & f, int32_t v) {
	f.write((const char *)&v, sizeof(v));
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

}

graph_writer::graph_writer(genhap_set & _set, std::string _header1, std::string _header2) : set(_set), header1(_header1), header2(_header2) {
}

void graph_writer::writeBinaryGraph(std::string filename) {
	ofile f;
	if (!f.open(filename, true)) LOG.error("Impossible to create file [" + filename + "]");
	LOG.println("\nWriting SNPs in [" + filename + "] in SORVANE binary format (v2.2)");
	writeByte(f, 0xAA);
	writeByte(f, 0x51);
	f.writeString(header1);
	f.writeString(header2);
	writeInt(f, set.sites->size());
	for (int l = 0 ; l < set.sites->size() ; l ++) writeSite(f, *set.sites->getByIndex(l));

	LOG.println("\nWriting genotype graphs in [" + filename + "] in SORVANE binary format (v2.2)");
	writeInt(f, set.vecG.size());
	for (genotype_graph * g : set.vecG) writeGraph(f, *g);
	writeByte(f, 0xAA);
	writeByte(f, 0x15);
	f.close();
}

void graph_writer::writeSite(ofile & f, snp & s) {
	f.writeString(s.chr);
	writeInt(f, s.bp);
	f.write((const char *)&s.cm, sizeof(s.cm));
	writeInt(f, s.idx);
	f.writeString(s.a0);
	f.writeString(s.a1);
	writeInt(f, 1);
	f.writeString(s.id);
	writeStrings(f, s.properties);
}

void graph_writer::writeGraph(ofile & f, genotype_graph & g) {
	writeByte(f, g.type);
	writeInt(f, g.famID);
	f.writeString(g.name);
	writeInt(f, g.index);
	writeStrings(f, g.properties);
	f.writeString(g.fname);
	writeByte(f, g.fmain);
	writeInt(f, g.findex);
	writeStrings(f, g.fproperties);
	f.writeString(g.mname);
	writeByte(f, g.mmain);
	writeInt(f, g.mindex);
	writeStrings(f, g.mproperties);
	writeArray(f, g.trans);
	writeArray(f, g.probs);
	writeArray(f, g.probsI);
	writeArray(f, g.probsC);
	futils::bool2binary(g.Ambs, f);
	g.Haps.write(f);
	writeArray(f, g.HapsI);
	writeArray(f, g.HapsC);
	writeArray(f, g.HapsS);
}
