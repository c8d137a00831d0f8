#include "input/genotype_test_utils.h"
#include "input/graph_reader.h"
#include "objects/genotype_graph_test_utils.h"
#include "output/graph_writer.h"
#include "utils/myException.h"

#include <cstdint>
#include <memory>

using namespace genotest;

namespace {

// A binary file built field by field. Each field keeps its end and the failure of a file
// cut inside it: a text of the graph record (thrown as "read <text> failed") or a fatal one.
struct Bytes {
	struct Field {
		size_t end;
		std::string text;
		bool thrown;
	};
	std::string data;
	std::vector < Field > fields;
	bool record = false;

	template < class T > void put(T v, const std::string & text) {
		data.append((const char *)&v, sizeof(T));
		mark(text);
	}
	void str(const std::string & s, const std::string & text) {
		int32_t n = s.size();
		data.append((const char *)&n, 4);
		data += s;
		mark(text);
	}
	void strings(const std::vector < std::string > & v, const std::string & prefix) {
		put((int32_t)v.size(), "number of " + prefix + "properties");
		for (unsigned int i = 0 ; i < v.size() ; i ++) str(v[i], prefix + "property n=" + std::to_string(i));
	}
	template < class T > void array(const std::vector < T > & v, const std::string & name) {
		put((int32_t)v.size(), "#" + name);
		for (unsigned int i = 0 ; i < v.size() ; i ++) put(v[i], name + " " + std::to_string(i));
	}
	void mark(const std::string & text) {
		fields.push_back(Field { data.size(), text, record });
	}
};

void body(Bytes & b, const genotype_graph & g) {
	b.array(g.trans, "trans");
	b.array(g.probs, "probs");
	b.array(g.probsI, "probsI");
	b.array(g.probsC, "probsC");
	b.put((int32_t)g.Ambs.size(), "Ambs vector");
	unsigned char ambs = 0;
	for (unsigned int i = 0 ; i < g.Ambs.size() ; i ++) ambs |= g.Ambs[i] << i;
	b.put(ambs, "Ambs vector");
	b.put((int32_t)g.Haps.n, "Haps vector");
	b.put((int32_t)g.Haps.data.size(), "Haps vector");
	b.put(g.Haps.data[0], "Haps vector");
	b.array(g.HapsI, "HapsI");
	b.array(g.HapsC, "HapsC");
	b.array(g.HapsS, "HapsS");
}

void record(Bytes & b, const genotype_graph & g) {
	b.record = true;
	b.put(g.type, "genotype_graph type");
	b.put(g.famID, "famID");
	b.str(g.name, "name");
	b.put(g.index, "index");
	b.strings(g.properties, "");
	b.str(g.fname, "fname");
	b.put((unsigned char)g.fmain, "fmain");
	b.put(g.findex, "findex");
	b.strings(g.fproperties, "f");
	b.str(g.mname, "mname");
	b.put((unsigned char)g.mmain, "mmain");
	b.put(g.mindex, "mindex");
	b.strings(g.mproperties, "m");
	body(b, g);
	b.record = false;
}

// An unrelated graph of one segment of three sites with two fragments, 101 and 000.
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

void site22(Bytes & b, int i, const std::string & id, int bp, double cm, const std::string & a0, const std::string & a1, const std::vector < std::string > & properties) {
	const std::string fault = "reading snp " + std::to_string(i);
	b.str("1", fault + " position in bp");
	b.put((int32_t)bp, fault + " position in bp");
	b.put(cm, fault + " position in cM");
	b.put((int32_t)i, fault + " index");
	b.str(a0, fault + " a0");
	b.str(a1, fault + " a1");
	b.put((int32_t)1, fault + " number of ids");
	b.str(id, fault + " number of ids");
	b.put((int32_t)properties.size(), fault + " number of properties");
	for (const std::string & p : properties) b.str(p, fault + " number of properties");
}

std::string escape(const std::string & s) {
	std::string r;
	for (char c : s) r += (std::string("()[]{}.*+?|^$\\").find(c) != std::string::npos ? "\\" : "") + std::string(1, c);
	return r;
}

// Runs `read` on a fresh reader, expecting it to fail with `text`: thrown by a graph
// record or fatal.
void expectFailure(const std::function < void (graph_reader &) > & read, const std::string & text, bool thrown) {
	SCOPED_TRACE(text);
	if (!thrown) {
		EXPECT_LOG_ERROR({ graph_reader R; read(R); }, escape(text));
		return;
	}
	graph_reader R;
	std::unique_ptr < snp_set > S(R.S);
	try {
		read(R);
		ADD_FAILURE() << "no failure";
	} catch (myException & e) {
		EXPECT_EQ(e.msg, "read " + text + " failed");
	}
	for (genotype_graph * g : R.vecG) delete g;
}

void expectFailure(const std::string & file, const std::string & text, bool thrown) {
	expectFailure([&](graph_reader & R) { R.readBinaryGraph(file); }, text, thrown);
}

}

// The writer's file of two sites and one graph, byte by byte; read back with its log; cut
// inside each field it fails with that field's text; malformed heads, counts and tails.
TEST(graph_reader, Version22) {
	Bytes b;
	b.put((unsigned char)0xAA, "Binary graph file format unsupported!");
	b.put((unsigned char)0x51, "Binary graph file format unsupported!");
	b.str("ID_1 ID_2 missing", "reading header1");
	b.str("", "reading header2");
	b.put((int32_t)2, "reading total number of sites");
	site22(b, 0, "rs1", 100, 0.5, "A", "C", { "p", "q" });
	site22(b, 1, "rs2", 200, 1.5, "G", "", {});
	b.put((int32_t)1, "Binary file corrupted 1.2");
	std::unique_ptr < genotype_graph > original(smallGraph());
	record(b, *original);
	b.put((unsigned char)0xAA, "Binary file corrupted (tail)");
	b.put((unsigned char)0x15, "Binary file corrupted (tail)");

	TempDir d;
	testutils::silenceLog();
	{
		snp_set sites;
		const std::vector < std::string > ids = { "rs1", "rs2" }, a0 = { "A", "G" }, a1 = { "C", "" };
		for (int l = 0 ; l < 2 ; l ++) {
			snp * s = new snp("1", 100 * (l + 1), a0[l], a1[l], 3);
			s->id = ids[l];
			s->cm = 0.5 + l;
			s->idx = l;
			sites.put(s);
		}
		sites.getByIndex(0)->properties = { "p", "q" };
		std::vector < genotype_graph * > graphs = { smallGraph() };
		genhap_set set;
		set.initialise(graphs, &sites);
		graph_writer W(set, "ID_1 ID_2 missing", "");
		W.writeBinaryGraph(d.file("w.bin"));
	}
	ASSERT_EQ(d.read("w.bin"), b.data);

	d.write("g.bin", b.data);
	graph_reader R;
	std::unique_ptr < snp_set > S(R.S);
	const std::string log = logOf(d, [&] { R.readBinaryGraph(d.file("g.bin")); });
	EXPECT_EQ(log, "\nReading genotype graphs in [" + d.file("g.bin") + "]\n  * Binary graph file v2.2 detected!\n  * 2 sites found\n");
	ASSERT_EQ(R.vecG.size(), 1u);
	EXPECT_EQ(graphtest::dump(*R.vecG[0]), graphtest::dump(*original));
	EXPECT_EQ(S->getByIndex(1)->id + " " + S->getByIndex(1)->a1 + ".", "rs2 .");
	delete R.vecG[0];

	for (unsigned int k = 0 ; k < b.fields.size() ; k ++) {
		const size_t start = k ? b.fields[k - 1].end : 0, cut = start + (b.fields[k].end - start) / 2;
		d.write("cut.bin", b.data.substr(0, cut));
		expectFailure(d.file("cut.bin"), b.fields[k].text, b.fields[k].thrown);
	}

	// Bytes replaced at an offset: heads and tails are tested on their bits only.
	size_t trans = 0;
	for (unsigned int k = 1 ; k < b.fields.size() ; k ++) if (b.fields[k].text == "#trans") trans = b.fields[k - 1].end;
	auto patched = [&](size_t at, const std::string & bytes) { std::string s = b.data; s.replace(at, bytes.size(), bytes); d.write("p.bin", s); return d.file("p.bin"); };
	const size_t tail = b.data.size() - 2;
	expectFailure(patched(0, "\x2A"), "Binary graph file format unsupported!", false);
	expectFailure(patched(1, std::string(1, '\0')), "Binary graph file format unsupported!", false);
	expectFailure(patched(tail, "\xAA\x05"), "Binary file corrupted (tail)", false);
	expectFailure(patched(trans, "\xFF\xFF\xFF\xFF"), "#trans", true);
	graph_reader T;
	std::unique_ptr < snp_set > ST(T.S);
	T.readBinaryGraph(patched(tail, "\xFF\x3F"));
	ASSERT_EQ(T.vecG.size(), 1u);
	delete T.vecG[0];
}

// One string for chromosome and identifier, and no identifier or property lists.
TEST(graph_reader, Version21) {
	Bytes b;
	b.put((unsigned char)0xAA, "");
	b.put((unsigned char)0x15, "");
	b.str("H1", "");
	b.str("H2", "");
	b.put((int32_t)1, "");
	b.str("rs9", "");
	b.put((int32_t)300, "");
	b.put(2.0, "");
	b.put((int32_t)0, "");
	b.str("A", "");
	b.str("G", "reading snp 0 a1");
	b.put((int32_t)1, "");
	std::unique_ptr < genotype_graph > original(smallGraph());
	record(b, *original);
	b.put((unsigned char)0xAA, "");
	b.put((unsigned char)0x15, "");

	TempDir d;
	d.write("g.bin", b.data);
	graph_reader R;
	std::unique_ptr < snp_set > S(R.S);
	const std::string log = logOf(d, [&] { R.readBinaryGraph(d.file("g.bin")); });
	EXPECT_EQ(log, "\nReading genotype graphs in [" + d.file("g.bin") + "]\n  * Binary graph file v2.1 detected!\n  * 1 sites found\n");
	EXPECT_EQ(R.header1 + R.header2, "H1H2");
	ASSERT_EQ(S->size(), 1);
	snp * s = S->getByIndex(0);
	EXPECT_EQ(s->chr + " " + s->id + " " + std::to_string(s->bp) + " " + std::to_string(s->cm) + " " + s->a0 + s->a1 + " " + std::to_string(s->properties.size()), "rs9 rs9 300 2.000000 AG 0");
	ASSERT_EQ(R.vecG.size(), 1u);
	EXPECT_EQ(graphtest::dump(*R.vecG[0]), graphtest::dump(*original));
	delete R.vecG[0];

	d.write("cut.bin", b.data.substr(0, b.fields[10].end - 1));
	expectFailure(d.file("cut.bin"), "reading snp 0 a1", false);
}

// Three files: site and sample lists in text, graphs of the short record. Faults of each.
TEST(graph_reader, Version20) {
	std::unique_ptr < genotype_graph > unrelated(smallGraph()), haploid(new genotype_graph(1, 0));
	std::vector < std::vector < bool > > one = { { 1, 0, 1 } };
	std::vector < std::vector < int > > start = { { 0 }, { 0 } };
	haploid->pushTrans(start);
	haploid->pushHaps(one);
	haploid->pushTrans(start);
	haploid->probs = { 1.0f, 1.0f };
	haploid->Ambs = { 0, 0, 0 };
	Bytes b;
	b.put((unsigned char)0xAA, "");
	b.put((unsigned char)0x55, "");
	b.put((int32_t)2, "");
	for (genotype_graph * g : { unrelated.get(), haploid.get() }) {
		b.record = true;
		b.put(g->type, "genotype_graph type");
		body(b, *g);
		b.record = false;
	}
	const size_t tail = b.data.size();
	b.data += "\xAA\x55";

	TempDir d;
	const std::map < std::string, std::string > base = { { "sites.txt", "1 100 A C\n1 100 A G\n1 250 G T\n" }, { "samples.txt", "2 kid dad mum\n1 solo 0 0\n" }, { "g.bin", b.data } };
	for (const auto & f : base) d.write(f.first, f.second);
	auto read = [&](graph_reader & R) { R.readBinaryGraph20(d.file("g.bin"), d.file("samples.txt"), d.file("sites.txt")); };
	graph_reader R;
	std::unique_ptr < snp_set > S(R.S);
	const std::string log = logOf(d, [&] { read(R); });
	EXPECT_EQ(log, "\nReading site list in [" + d.file("sites.txt") + "]\n  * 3 sites included\n\nReading samples in [" + d.file("samples.txt") + "]\n  * 2 graphs included\n"
		"\nReading graphs in [" + d.file("g.bin") + "]\n  * Binary graph file v2.0 detected!\n");
	EXPECT_EQ(siteList(S.get()), "100:A/C 100:A/G 250:G/T");
	EXPECT_EQ(S->getByIndex(2)->chr + " " + std::to_string(S->getByIndex(2)->source), "1 8");
	// Each line takes three orders; every name is its member's one sample column.
	std::string kid = "kid", dad = "dad", mum = "mum", solo = "solo", none = "0";
	std::vector < std::string > p;
	unrelated->pushChild(kid, 0, p = { kid });
	unrelated->pushFather(dad, true, 1, p = { dad });
	unrelated->pushMother(mum, true, 2, p = { mum });
	unrelated->famID = 0;
	haploid->famID = 1;
	haploid->pushChild(solo, 3, p = { solo });
	haploid->pushFather(none, true, 4, p = { none });
	haploid->pushMother(none, true, 5, p = { none });
	ASSERT_EQ(R.vecG.size(), 2u);
	EXPECT_EQ(graphtest::dump(*R.vecG[0]), graphtest::dump(*unrelated));
	EXPECT_EQ(graphtest::dump(*R.vecG[1]), graphtest::dump(*haploid));
	for (genotype_graph * g : R.vecG) delete g;

	testutils::silenceLog();
	std::string patched = b.data;
	patched.replace(tail, 2, "\xAA\x05");
	expectFaults(d, base, {
		{ "sites.txt", "1 100 A C\n1 200 G\n", "Line=2 found=3 fields expected=4" },
		{ "sites.txt", "1 200 A C\n1 100 G T\n", "Physical positions corrupted curr_pos=100 prev_pos=200" },
		{ "samples.txt", "2 kid dad mum\n0 solo 0 0\n", "Graph type is unrecognised, only haploid \\(1\\), unrelated \\(2\\), duo \\(3\\) and trio \\(4\\) are supported" },
		{ "g.bin", std::string("\xAA\x51\x02\x00\x00\x00", 6), "Binary graph file format unsupported" },
		{ "g.bin", "\xAA\x55", "Binary file corrupted 1" },
		{ "g.bin", std::string("\xAA\x55\x03\x00\x00\x00", 6), "Different number of individuals, in binary file=3 in sample file=2" },
		{ "g.bin", patched, "Binary file corrupted \\(tail\\)" },
	}, [&] { graph_reader F; read(F); });

	// Cut records fail with the field's text.
	for (unsigned int k : { 3u, (unsigned int)b.fields.size() - 1 }) {
		d.write("g.bin", b.data.substr(0, b.fields[k].end - 1));
		expectFailure(read, b.fields[k].text, true);
	}
	// Taken for v2.1 by its head, a v2.0 file fails further on.
	d.write("g.bin", std::string("\xAA\x55\x00\x00\x00\x00\xAA\x55", 8));
	expectFailure(d.file("g.bin"), "reading header2", false);
}
