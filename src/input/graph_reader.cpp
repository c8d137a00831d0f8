#include "input/graph_reader.h"
#include "utils/futils.h"
#include "utils/lfile.h"
#include "utils/myException.h"
#include "utils/sutils.h"

#include <algorithm>
#include <boost/iostreams/operations.hpp>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <limits>
#include <memory>
#include <zlib.h>

using futils::readValue;

// Sits on top of the decompressed stream and keeps the CRC-32 of every byte that passes but
// the last four, which it holds back: once the stream has ended they are the trailer that
// the writer puts after the tail, the checksum of everything before it.
class crc_tap {
public:
	typedef char char_type;
	typedef boost::iostreams::multichar_input_filter_tag category;

	struct state {
		uLong crc = crc32(0L, Z_NULL, 0);
		unsigned char held[4];
		int n_held = 0;
	};
	std::shared_ptr < state > sum;

	crc_tap() : sum(new state()) {}

	template < typename Source > std::streamsize read(Source & src, char * s, std::streamsize n) {
		std::streamsize got = boost::iostreams::read(src, s, n);
		if (got > 0) pass((const unsigned char *)s, got);
		return got;
	}

private:
	void pass(const unsigned char * s, size_t n) {
		unsigned char all[4 + 4];
		state & x = *sum;
		if (n >= 4) {
			x.crc = crc32(x.crc, x.held, x.n_held);
			x.crc = crc32(x.crc, s, n - 4);
			std::copy(s + n - 4, s + n, x.held);
			x.n_held = 4;
			return;
		}
		std::copy(x.held, x.held + x.n_held, all);
		std::copy(s, s + n, all + x.n_held);
		const int len = x.n_held + n, out = std::max(0, len - 4);
		x.crc = crc32(x.crc, all, out);
		std::copy(all + out, all + len, x.held);
		x.n_held = len - out;
	}
};

namespace {

// Magic and tail bytes are tested on their bits, not compared for equality.
bool hasBits(unsigned char b, unsigned char mask) {
	return (b & mask) == mask;
}

void openInput(ifile & f, const std::string & name, bool binary) {
	if (!f.open(name, binary)) LOG.error("Impossible to open file [" + name + "]");
}

// Head and tail marks: two bytes, left at 0 where the file ends.
void readMarks(ifile & f, unsigned char & b1, unsigned char & b2) {
	b1 = b2 = 0;
	readValue(f, b1);
	readValue(f, b2);
}

void readTail(ifile & f, unsigned char second) {
	unsigned char t1, t2;
	readMarks(f, t1, t2);
	if (!hasBits(t1, 0xAA) || !hasBits(t2, second)) LOG.error("Binary file corrupted (tail)");
}

// The fault of one graph of a file, with the file, the graph's rank and its sample.
[[noreturn]] void graphFault(const std::string & file, int i, int n, const genotype_graph & g, const std::string & what) {
	std::string sample = g.name.empty() ? "" : " (sample " + g.name + ")";
	LOG.error("Graph file [" + file + "], graph " + sutils::int2str(i + 1) + " of " + sutils::int2str(n) + sample + ": " + what);
}

// Reads one graph record and checks it against the site count.
void readGraph(ifile & f, const std::string & file, int i, int n, int n_sites, genotype_graph & g, bool v20) {
	try {
		if (v20) g.readBinary20(f);
		else g.readBinary(f);
	} catch (const std::exception & e) {
		graphFault(file, i, n, g, e.what());
	}
	const std::string fault = g.structuralFault(n_sites);
	if (!fault.empty()) graphFault(file, i, n, g, fault);
	// Graphs are saved with their probabilities normalised: each group has some weight to
	// draw and maximise from.
	for (size_t k = 0 ; k < g.probsC.size() ; k ++)
		if (std::all_of(g.probs.begin() + g.probsI[k], g.probs.begin() + g.probsI[k] + g.probsC[k], [](float p) { return p == 0; }))
			graphFault(file, i, n, g, "the probabilities of group " + sutils::int2str(k) + " are all 0");
}

}

graph_reader::graph_reader() : header1("ID_1 ID_2 missing"), header2("0 0 0"), S(new snp_set()) {
}

void graph_reader::readBinaryGraph(std::string filename) {
	LOG.println("\nReading genotype graphs in [" + filename + "]");
	ifile f;
	crc_tap tap;
	f.push(tap);
	openInput(f, filename, true);
	unsigned char m1, m2;
	readMarks(f, m1, m2);
	if (!hasBits(m1, 0xAA)) LOG.error("Binary graph file format unsupported!");
	// Tested in this order, a v2.0 head (0x55) holds the bits of v2.1 and is read as v2.1:
	// such a file fails further on, not at its own test.
	bool v22 = false;
	if (hasBits(m2, 0x15)) LOG.println("  * Binary graph file v2.1 detected!");
	else if (hasBits(m2, 0x51)) {
		v22 = true;
		LOG.println("  * Binary graph file v2.2 detected!");
	} else if (hasBits(m2, 0x55)) LOG.error("Binary graph file v2.0 store information in 3 files!");
	else LOG.error("Binary graph file format unsupported!");

	if (!f.readString(header1)) LOG.error("reading header1");
	if (!f.readString(header2)) LOG.error("reading header2");
	readSites(f, v22, filename);
	LOG.println("  * " + sutils::int2str(S->size()) + " sites found");

	int32_t n;
	if (!readValue(f, n) || n < 0) LOG.error("Binary file corrupted 1.2");
	for (int i = 0 ; i < n ; i ++) {
		std::unique_ptr < genotype_graph > g(new genotype_graph());
		readGraph(f, filename, i, n, S->size(), *g, false);
		vecG.push_back(g.release());
	}
	readTail(f, 0x15);
	checkTrailer(f, filename, tap.sum->crc);
}

// Files written since the checksum was added end with it, older ones at the tail: both read,
// but a checksum present must be whole, last, and match.
// The tap has passed every byte only once the stream has reached its end, so `crc` is read
// after the test for the end.
void graph_reader::checkTrailer(ifile & f, const std::string & filename, const unsigned long & crc) {
	uint32_t stored;
	if (!readValue(f, stored)) {
		if (f.gcount() != 0) LOG.error("Graph file [" + filename + "] ends inside its checksum: the file is truncated");
		return;
	}
	if (f.peek() != EOF) LOG.error("Graph file [" + filename + "] goes on after its checksum");
	if (stored != crc) LOG.error("Graph file [" + filename + "] is corrupted: its checksum does not match its content");
}

// A failed string read is reported with the number field next to it, the stream being
// unusable from there on either way.
void graph_reader::readSites(ifile & f, bool v22, const std::string & filename) {
	int32_t n;
	if (!readValue(f, n) || n < 0) LOG.error("reading total number of sites");
	for (int i = 0 ; i < n ; i ++) {
		std::unique_ptr < snp > s(new snp());
		std::string fault = "reading snp " + sutils::int2str(i);
		if (!f.readString(s->chr) || !readValue(f, s->bp)) LOG.error(fault + " position in bp");
		if (!readValue(f, s->cm)) LOG.error(fault + " position in cM");
		if (!readValue(f, s->idx)) LOG.error(fault + " index");
		if (!f.readString(s->a0)) LOG.error(fault + " a0");
		if (!f.readString(s->a1)) LOG.error(fault + " a1");
		if (v22) {
			// Only the first identifier is kept. Lists are read one string at a time: a
			// corrupt count then ends at the end of the file, not in a huge allocation.
			int32_t n_ids;
			if (!readValue(f, n_ids) || n_ids < 0) LOG.error(fault + " number of ids");
			for (int k = 0 ; k < n_ids ; k ++) {
				std::string id;
				if (!f.readString(id)) LOG.error(fault + " number of ids");
				if (k == 0) s->id = id;
			}
			int32_t n_properties;
			if (!readValue(f, n_properties) || n_properties < 0) LOG.error(fault + " number of properties");
			for (int k = 0 ; k < n_properties ; k ++) {
				s->properties.push_back("");
				if (!f.readString(s->properties.back())) LOG.error(fault + " number of properties");
			}
		} else s->id = s->chr;
		// Sites are indexed by their rank and looked up by position: both must hold.
		if (s->idx != i) LOG.error("Graph file [" + filename + "], site " + sutils::int2str(i + 1) + ": its index is " + sutils::int2str(s->idx));
		if (i > 0 && s->bp < S->vecS.back()->bp) LOG.error("Graph file [" + filename + "], site " + sutils::int2str(i + 1) + ": position " + sutils::int2str(s->bp) + " comes after position " + sutils::int2str(S->vecS.back()->bp));
		S->put(s.release());
	}
}

void graph_reader::readBinaryGraph20(std::string graphFile, std::string sampleFile, std::string siteFile) {
	readSiteList(siteFile);
	readSampleList(sampleFile);

	LOG.println("\nReading graphs in [" + graphFile + "]");
	ifile f;
	openInput(f, graphFile, true);
	unsigned char m1, m2;
	readMarks(f, m1, m2);
	if (!hasBits(m1, 0xAA) || !hasBits(m2, 0x55)) LOG.error("Binary graph file format unsupported");
	LOG.println("  * Binary graph file v2.0 detected!");
	int32_t n;
	if (!readValue(f, n)) LOG.error("Binary file corrupted 1");
	if (n != (int)vecG.size()) LOG.error("Different number of individuals, in binary file=" + sutils::int2str(n) + " in sample file=" + sutils::int2str(vecG.size()));
	for (int i = 0 ; i < n ; i ++) readGraph(f, graphFile, i, n, S->size(), *vecG[i], true);
	readTail(f, 0x55);
}

// Four fields a line: chromosome, position, first and second allele, positions ascending.
void graph_reader::readSiteList(std::string siteFile) {
	LOG.println("\nReading site list in [" + siteFile + "]");
	ifile f;
	openInput(f, siteFile, false);
	std::string buffer;
	std::vector < std::string > tokens;
	int line = 1, prev = std::numeric_limits < int >::min();
	for (; getline(f, buffer) ; line ++) {
		int n_fields = sutils::tokenize(buffer, tokens);
		if (n_fields != 4) LOG.error("Line=" + sutils::int2str(line) + " found=" + sutils::int2str(n_fields) + " fields expected=4");
		int bp = sutils::str2bp(tokens[1], siteFile, line);
		if (bp < prev) LOG.error("Physical positions corrupted curr_pos=" + sutils::int2str(bp) + " prev_pos=" + sutils::int2str(prev));
		// The list has no identifier column: "." keeps the written HAPS and VCF lines whole.
		snp * s = new snp(tokens[0], bp, tokens[2], tokens[3], 8);
		s->id = ".";
		S->put(s);
		prev = bp;
	}
	LOG.println("  * " + sutils::int2str(S->size()) + " sites included");
}

// Four fields a line: type, child, father and mother. Each line takes three output orders,
// whatever its type; every name is also the member's one sample column.
void graph_reader::readSampleList(std::string sampleFile) {
	LOG.println("\nReading samples in [" + sampleFile + "]");
	ifile f;
	openInput(f, sampleFile, false);
	std::string buffer;
	std::vector < std::string > tokens;
	int counter = 0;
	while (getline(f, buffer)) {
		if (sutils::tokenize(buffer, tokens) != 4) continue;
		int type = atoi(tokens[0].c_str());
		if (type < 1 || type > 4) LOG.error("Graph type is unrecognised, only haploid (1), unrelated (2), duo (3) and trio (4) are supported");
		genotype_graph * g = new genotype_graph(type, vecG.size());
		std::vector < std::string > child = { tokens[1] }, father = { tokens[2] }, mother = { tokens[3] };
		g->pushChild(tokens[1], counter, child);
		g->pushFather(tokens[2], true, counter + 1, father);
		g->pushMother(tokens[3], true, counter + 2, mother);
		vecG.push_back(g);
		counter += 3;
	}
	LOG.println("  * " + sutils::int2str(vecG.size()) + " graphs included");
}
