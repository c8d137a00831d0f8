#include "input/genotype_test_utils.h"
#include "input/graph_reader.h"
#include "modules/sampler.h"
#include "modules/solver.h"
#include "objects/genotype_graph_test_utils.h"
#include "output/graph_writer.h"
#include "utils/myException.h"

#include <cmath>
#include <fstream>
#include <memory>
#include <sys/resource.h>
#include <zlib.h>

using namespace genotest;

namespace {

// A binary file built field by field. Each field keeps its end and the fault of a file cut inside it; in a graph record, "read <text> failed".
struct Bytes {
	struct Field { size_t end; std::string text; };
	std::string data;
	std::vector < Field > fields;
	bool record = false;

	void add(const std::string & bytes, const std::string & text) {
		data += bytes;
		fields.push_back(Field { data.size(), record ? "read " + text + " failed" : text });
	}
	template < class T > void put(T v, const std::string & text) { add(std::string((const char *)&v, sizeof(T)), text); }
	void str(const std::string & s, const std::string & text) { add(std::string(1, (char)s.size()) + std::string(3, '\0') + s, text); }
	template < class T > void array(const std::vector < T > & v, const std::string & name) {
		put((int32_t)v.size(), "#" + name);
		for (unsigned int i = 0 ; i < v.size() ; i ++) put((T)v[i], name + " " + std::to_string(i));
	}
	void strings(const std::vector < std::string > & v, const std::string & prefix) {
		put((int32_t)v.size(), "number of " + prefix + "properties");
		for (unsigned int i = 0 ; i < v.size() ; i ++) str(v[i], prefix + "property n=" + std::to_string(i));
	}
	// The graph record; v2.0 has only the type before the transitions.
	void graph(const genotype_graph & g, bool full) {
		record = true;
		put(g.type, "genotype_graph type");
		if (full) {
			put(g.famID, "famID");
			str(g.name, "name");
			put(g.index, "index");
			strings(g.properties, "");
			for (int p = 0 ; p < 2 ; p ++) {
				const std::string x = p ? "m" : "f";
				str(p ? g.mname : g.fname, x + "name");
				put((unsigned char)(p ? g.mmain : g.fmain), x + "main");
				put(p ? g.mindex : g.findex, x + "index");
				strings(p ? g.mproperties : g.fproperties, x);
			}
		}
		array(g.trans, "trans");
		array(g.probs, "probs");
		array(g.probsI, "probsI");
		array(g.probsC, "probsC");
		put((int32_t)g.Ambs.size(), "Ambs vector");
		put((unsigned char)(g.Ambs[0] + 4 * g.Ambs[2]), "Ambs vector");
		put((int32_t)g.Haps.n, "Haps vector");
		put((int32_t)g.Haps.data.size(), "Haps vector");
		put(g.Haps.data[0], "Haps vector");
		array(g.HapsI, "HapsI");
		array(g.HapsC, "HapsC");
		array(g.HapsS, "HapsS");
		record = false;
	}
	size_t startOf(const std::string & text) const {
		size_t k = 0;
		while (fields[k].text != text) k ++;
		return k ? fields[k - 1].end : 0;
	}
};

std::string withCrc(const std::string & data) {
	uint32_t crc = crc32(crc32(0L, Z_NULL, 0), (const unsigned char *)data.data(), data.size());
	return data + std::string((const char *)&crc, 4);
}

// The fault `read` ends with, "" when it succeeds; the log's error throws meanwhile, its screen output is captured. The graphs read are deleted.
std::string readFault(const std::function < void (graph_reader &) > & read) {
	graph_reader R;
	std::string fault;
	LOG.exitOnError = false;
	testing::internal::CaptureStdout();
	try { read(R); } catch (const std::exception & e) { fault = std::string("fault: ") + e.what(); }
	testing::internal::GetCapturedStdout();
	LOG.exitOnError = true;
	for (genotype_graph * g : R.vecG) delete g;
	return fault;
}

std::string faultOf(const TempDir & d, const std::string & data) {
	d.write("g.bin", data);
	return readFault([&](graph_reader & R) { R.readBinaryGraph(d.file("g.bin")); });
}

// An unrelated graph of one segment of three sites with the fragments 101 and 000.
genotype_graph * smallGraph() {
	genotype_graph * g = new genotype_graph(2, 7);
	std::string name = "kid", father = "dad", mother = "0";
	std::vector < std::string > p = { "F", "x" }, fp = { "F" }, mp;
	g->pushChild(name, 3, p);
	g->pushFather(father, true, 4, fp);
	g->pushMother(mother, false, -1, mp);
	std::vector < std::vector < bool > > haps = { { 1, 0, 1 }, { 0, 0, 0 } };
	std::vector < std::vector < int > > group0 = { { 0, 0 }, { 0, 1 }, { 0, 0 }, { 1, 0 } }, group1 = { { 0 }, { 0 }, { 1 }, { 0 } };
	g->pushTrans(group0);
	g->pushHaps(haps);
	g->pushTrans(group1);
	g->probs = { 0.25f, 0.75f, 1.0f };
	g->Ambs = { 1, 0, 1 };
	return g;
}

// Three sites and one graph, without the checksum. A v2.1 site is one name for chromosome and identifier, without identifier and property lists.
Bytes file(bool v22, const genotype_graph & g) {
	Bytes b;
	b.put((unsigned char)0xAA, "Binary graph file format unsupported!");
	b.put((unsigned char)(v22 ? 0x51 : 0x15), "Binary graph file format unsupported!");
	b.str("ID_1 ID_2 missing", "reading header1");
	b.str("", "reading header2");
	b.put((int32_t)3, "reading total number of sites");
	for (int i = 0 ; i < 3 ; i ++) {
		const std::string fault = "reading snp " + std::to_string(i), id = "rs" + std::to_string(i);
		b.str(v22 ? "1" : id, fault + " position in bp");
		b.put((int32_t)(100 + i), fault + " position in bp");
		b.put(0.5 + i, fault + " position in cM");
		b.put((int32_t)i, fault + " index");
		b.str("A", fault + " a0");
		b.str(i ? "" : "C", fault + " a1");
		if (!v22) continue;
		b.put((int32_t)1, fault + " number of ids");
		b.str(id, fault + " number of ids");
		b.put((int32_t)(i ? 0 : 2), fault + " number of properties");
		for (int k = 0 ; k < (i ? 0 : 2) ; k ++) b.str("p" + std::to_string(k), fault + " number of properties");
	}
	b.put((int32_t)1, "Binary file corrupted 1.2");
	b.graph(g, true);
	b.put((unsigned char)0xAA, "Binary file corrupted (tail)");
	b.put((unsigned char)0x15, "Binary file corrupted (tail)");
	return b;
}

// Writes the small graph over three sites, the first with two properties, as the writer does.
void writeSmall(const std::string & name) {
	snp_set sites;
	for (int l = 0 ; l < 3 ; l ++) {
		snp * s = new snp("1", 100 + l, "A", l ? "" : "C", 3);
		s->id = "rs" + std::to_string(l);
		s->cm = 0.5 + l;
		s->idx = l;
		sites.put(s);
	}
	sites.getByIndex(0)->properties = { "p0", "p1" };
	std::vector < genotype_graph * > graphs = { smallGraph() };
	genhap_set set;
	set.initialise(graphs, &sites);
	graph_writer(set, "ID_1 ID_2 missing", "").writeBinaryGraph(name);
}

}

// The writer's file byte by byte, checksum last, plain and compressed; both versions read back, with or without checksum; a file cut inside any field fails with that field's text; malformed heads, tails, checksums.
TEST(graph_reader, Versions22To20) {
	TempDir d;
	testutils::silenceLog();
	std::unique_ptr < genotype_graph > original(smallGraph());
	for (std::string name : { "w.bin", "w.bin.gz" }) writeSmall(d.file(name));
	ASSERT_EQ(d.read("w.bin"), withCrc(file(true, *original).data));
	EXPECT_EQ(testutils::readCompressed(d.file("w.bin.gz")), d.read("w.bin"));

	for (bool v22 : { true, false }) for (bool crc : { true, false }) {
		SCOPED_TRACE(std::string(v22 ? "v2.2" : "v2.1") + (crc ? " with checksum" : ""));
		const Bytes b = file(v22, *original);
		const std::string name = d.file(crc ? "g.bin.gz" : "g.bin");
		testutils::writeCompressed(name, crc ? withCrc(b.data) : b.data);
		graph_reader R;
		const std::string log = logOf(d, [&] { R.readBinaryGraph(name); });
		EXPECT_TRUE(has(log, std::string("  * Binary graph file v2.") + (v22 ? "2" : "1") + " detected!\n  * 3 sites found\n")) << log;
		EXPECT_EQ(R.header1 + "/" + R.header2, "ID_1 ID_2 missing/");
		ASSERT_EQ(R.vecG.size(), 1u);
		EXPECT_EQ(graphtest::dump(*R.vecG[0]), graphtest::dump(*original));
		delete R.vecG[0];
		for (int l = 0 ; l < 3 ; l ++) {
			snp * s = R.S->getByIndex(l);
			EXPECT_EQ(s->chr + " " + s->id + " " + std::to_string(s->bp) + " " + std::to_string(s->cm) + " " + std::to_string(s->idx) + " " + s->a0 + "/" + s->a1 + " " + std::to_string(s->properties.size()),
				(v22 ? "1" : "rs" + std::to_string(l)) + " rs" + std::to_string(l) + " " + std::to_string(100 + l) + " " + std::to_string(0.5 + l) + " " + std::to_string(l) + " A/" + (l ? "" : "C") + " " + (v22 && !l ? "2" : "0"));
		}
		if (crc) continue;
		for (unsigned int k = 0 ; k < b.fields.size() ; k ++) {
			const size_t start = k ? b.fields[k - 1].end : 0;
			EXPECT_TRUE(has(faultOf(d, b.data.substr(0, start + (b.fields[k].end - start) / 2)), b.fields[k].text)) << b.fields[k].text;
		}
	}

	const Bytes b = file(true, *original);
	const std::string sound = withCrc(b.data);
	// Wherever its end falls in the reader's buffers, a sound file reads back.
	for (genotype_graph g = *original ; g.name.size() < 60 ; g.name += "k") EXPECT_EQ(faultOf(d, withCrc(file(true, g).data)), "") << g.name.size();
	// Heads and tails are tested on their bits only; a checksum present is whole, last, right.
	const size_t tail = b.data.size() - 2;
	const std::vector < std::pair < std::string, std::string > > cases = {
		{ std::string(sound).replace(0, 1, "\x2A"), "Binary graph file format unsupported!" },
		{ std::string(sound).replace(1, 1, std::string(1, '\0')), "Binary graph file format unsupported!" },
		{ b.data.substr(0, tail) + "\xAA\x05", "Binary file corrupted (tail)" },
		{ sound.substr(0, sound.size() - 2), "ends inside its checksum: the file is truncated" },
		{ sound + "x", "goes on after its checksum" },
		{ b.data + "\xAA\x15\x15\x15", "is corrupted: its checksum does not match its content" },
		{ std::string(sound).replace(tail, 2, "\xFF\x3F"), "is corrupted: its checksum does not match its content" },
		{ std::string(sound).replace(b.startOf("read #probs failed"), 4, "\xFF\xFF\xFF\xFF"), "graph 1 of 1 (sample kid): read #probs failed" },
		{ withCrc(b.data.substr(0, tail) + "\xFF\x3F"), "" },	// a tail with more bits set passes
	};
	for (const auto & c : cases) EXPECT_TRUE(c.second.empty() ? faultOf(d, c.first) == "" : has(faultOf(d, c.first), c.second)) << c.second;

	// Graphs whose fields read whole but do not hold together stop the read naming the file, the graph and its sample, and the fault.
	const std::vector < std::pair < std::function < void (genotype_graph &) >, std::string > > broken = {
		{ [](genotype_graph & g) { g.type = 3; }, "6 transition bytes for 3 transitions of 3 tracks" },
		{ [](genotype_graph & g) { g.HapsI[0] = 1; }, "segment 0 does not start where the one before ends" },
		{ [](genotype_graph & g) { g.probsI[1] = 1; }, "group 1 does not start where the one before ends" },
		{ [](genotype_graph & g) { g.probs[1] = NAN; }, "probability 1 is not a finite number from 0" },
		{ [](genotype_graph & g) { g.probs[0] = g.probs[1] = 0; }, "the probabilities of group 0 are all 0" },
		{ [](genotype_graph & g) { g.trans[4] = g.trans[5] = 0x00; }, "transitions of groups 0 and 1 do not meet" },
	};
	for (const auto & c : broken) {
		genotype_graph g = *original;
		c.first(g);
		EXPECT_TRUE(has(faultOf(d, file(true, g).data), "fault: Graph file [" + d.file("g.bin") + "], graph 1 of 1 (sample kid): " + c.second)) << c.second;
	}

	// Every byte of a written file flipped in turn: with the checksum each read fails; without, a read fails or gives graphs that solving and sampling take.
	const std::string bare = sound.substr(0, sound.size() - 4);
	for (const std::string * data : { &sound, &bare }) for (size_t i = 0 ; i < data->size() ; i ++) {
		d.write("g.bin", std::string(*data).replace(i, 1, 1, (char)((*data)[i] ^ 0xFF)));
		const std::string fault = readFault([&](graph_reader & R) {
			R.readBinaryGraph(d.file("g.bin"));
			genhap_set GH;
			GH.initialise(R.vecG, R.S.get());
			work_queue one (1);
			solver(GH, one).solve();
			sampler(GH, false, one, false).sample();
			R.vecG.clear();
		});
		EXPECT_TRUE(data != &sound || fault != "") << "byte " << i;
	}

	// Version 2.0: site and sample lists in text, graphs of the short record; each line takes three orders; the type comes from the graph (2, the list says 1).
	Bytes v20;
	v20.add(std::string("\xAA\x55\x02\x00\x00\x00", 6), "");
	for (int i = 0 ; i < 2 ; i ++) v20.graph(*original, false);
	d.write("sites.txt", "1 100 A C\n1 100 A G\n1 250 G T\n");
	d.write("samples.txt", "2 kid dad mum\n1 solo 0 0\n");
	d.write("g20.bin", v20.data + "\xAA\x55");
	graph_reader R;
	const std::string log = logOf(d, [&] { R.readBinaryGraph20(d.file("g20.bin"), d.file("samples.txt"), d.file("sites.txt")); });
	EXPECT_TRUE(has(log, "  * 3 sites included\n") && has(log, "  * 2 graphs included\n") && has(log, "  * Binary graph file v2.0 detected!\n")) << log;
	EXPECT_EQ(siteList(R.S.get()), "100:A/C 100:A/G 250:G/T");
	ASSERT_EQ(R.vecG.size(), 2u);
	EXPECT_EQ(R.vecG[1]->name + " " + std::to_string(R.vecG[1]->type) + " " + std::to_string(R.vecG[1]->index) + " " + std::to_string(R.vecG[1]->mindex), "solo 2 3 5");
	// The graph body, below the member and sample lines, reads as written.
	auto body = [](const genotype_graph & g) { std::string s = graphtest::dump(g); return s.substr(s.find('\n', s.find('\n') + 1)); };
	EXPECT_EQ(body(*R.vecG[0]), body(*original));
	for (genotype_graph * g : R.vecG) delete g;
	// Taken for v2.1 by its head, a v2.0 file fails further on.
	EXPECT_TRUE(has(faultOf(d, std::string("\xAA\x55\x00\x00\x00\x00\xAA\x55", 8)), "reading header2"));
}

// A count made 2^31 - 1 in a short file, a string length or an array count, fails with its field's message before any allocation of that size: the
// read runs in a child that may not allocate 256 MB more (not under a sanitizer, whose shadow memory is address space too).
TEST(graph_reader, CorruptCountsFailWithoutHugeAllocation) {
	TempDir d;
	std::unique_ptr < genotype_graph > g(smallGraph());
	const Bytes b = file(true, *g);
	for (const auto & c : std::vector < std::pair < std::string, std::string > > { { "reading header1", "reading header1" }, { "read #trans failed", "read trans [0-9]+ failed" } }) {
		d.write("c.bin", std::string(b.data).replace(b.startOf(c.first), 4, "\xFF\xFF\xFF\x7F"));
		EXPECT_LOG_ERROR({
#if !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)
			long pages = 0;
			std::ifstream("/proc/self/statm") >> pages;
			rlimit r;
			r.rlim_cur = r.rlim_max = pages * sysconf(_SC_PAGESIZE) + (256L << 20);
			setrlimit(RLIMIT_AS, &r);
#endif
			graph_reader R;
			try { R.readBinaryGraph(d.file("c.bin")); } catch (myException & e) { LOG.error(e.msg); }
		}, c.second);
	}
}
