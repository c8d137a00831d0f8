#include "output/graph_writer.h"
#include "objects/genotype_graph.h"
#include "objects/snp_set.h"
#include "utils/futils.h"
#include "utils/lfile.h"

#include <boost/iostreams/operations.hpp>
#include <cstdint>
#include <memory>
#include <zlib.h>

using futils::writeValue;

namespace {

// Keeps the CRC-32 of the bytes written through it, before any compression.
class crc_counter {
public:
	typedef char char_type;
	typedef boost::iostreams::multichar_output_filter_tag category;

	std::shared_ptr < uLong > crc;

	crc_counter() : crc(new uLong(crc32(0L, Z_NULL, 0))) {}

	template < typename Sink > std::streamsize write(Sink & snk, const char * s, std::streamsize n) {
		std::streamsize done = boost::iostreams::write(snk, s, n);
		if (done > 0) *crc = crc32(*crc, (const unsigned char *)s, done);
		return done;
	}
};

}

graph_writer::graph_writer(genhap_set & _set, std::string _header1, std::string _header2) : set(_set), header1(_header1), header2(_header2) {
}

void graph_writer::writeBinaryGraph(std::string filename) {
	ofile f;
	crc_counter counter;
	f.push(counter);
	if (!f.open(filename, true)) LOG.error("Impossible to create file [" + filename + "]");
	LOG.println("\nWriting SNPs in [" + filename + "] in SORVANE binary format (v2.2)");
	writeValue(f, (unsigned char)0xAA);
	writeValue(f, (unsigned char)0x51);
	f.writeString(header1);
	f.writeString(header2);
	writeValue(f, (int32_t)set.sites->size());
	for (int l = 0 ; l < set.sites->size() ; l ++) writeSite(f, *set.sites->getByIndex(l));

	LOG.println("\nWriting genotype graphs in [" + filename + "] in SORVANE binary format (v2.2)");
	writeValue(f, (int32_t)set.vecG.size());
	for (genotype_graph * g : set.vecG) g->writeBinary(f);
	writeValue(f, (unsigned char)0xAA);
	writeValue(f, (unsigned char)0x15);
	// The checksum of everything before it, so that a reader tells a damaged file from a
	// sound one.
	f.flush();
	writeValue(f, (uint32_t)*counter.crc);
	f.close();
}

void graph_writer::writeSite(ofile & f, snp & s) {
	f.writeString(s.chr);
	writeValue(f, (int32_t)s.bp);
	writeValue(f, s.cm);
	writeValue(f, (int32_t)s.idx);
	f.writeString(s.a0);
	f.writeString(s.a1);
	writeValue(f, (int32_t)1);
	f.writeString(s.id);
	writeValue(f, (int32_t)s.properties.size());
	for (std::string & p : s.properties) f.writeString(p);
}

