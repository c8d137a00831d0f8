#include "input/genotype_test_utils.h"
#include "input/graph_reader.h"
#include "objects/genotype_graph_test_utils.h"
#include "output/graph_writer.h"
#include "utils/myException.h"

#include <cstdint>
#include <fstream>
#include <memory>
#include <sys/resource.h>

using namespace genotest;

namespace {

// A binary file built field by field. Each field keeps its end and the failure of a file
// cut inside it: a text of a graph record (thrown as "read <text> failed") or a fatal one.
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
		fields.push_back(Field { data.size(), text, record });
	}
	void str(const std::string & s, const std::string & text) {
		data.append(std::string(1, (char)s.size()) + std::string(3, '\0') + s);
		fields.push_back(Field { data.size(), text, record });
	}
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
};

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

// Two sites and one graph. A v2.1 site is one name for chromosome and identifier, without
// identifier and property lists.
Bytes file(bool v22, const genotype_graph & g) {
	Bytes b;
	b.put((unsigned char)0xAA, "Binary graph file format unsupported!");
	b.put((unsigned char)(v22 ? 0x51 : 0x15), "Binary graph file format unsupported!");
	b.str("ID_1 ID_2 missing", "reading header1");
	b.str("", "reading header2");
	b.put((int32_t)2, "reading total number of sites");
	for (int i = 0 ; i < 2 ; i ++) {
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
		b.put((int32_t)(2 - 2 * i), fault + " number of properties");
		for (int k = 0 ; k < 2 - 2 * i ; k ++) b.str("p" + std::to_string(k), fault + " number of properties");
	}
	b.put((int32_t)1, "Binary file corrupted 1.2");
	b.graph(g, true);
	b.put((unsigned char)0xAA, "Binary file corrupted (tail)");
	b.put((unsigned char)0x15, "Binary file corrupted (tail)");
	return b;
}

// Runs `read` on a fresh reader, expecting it to fail with `text`.
void expectFailure(const std::function < void (graph_reader &) > & read, const std::string & text, bool thrown) {
	SCOPED_TRACE(text);
	if (!thrown) {
		std::string regex;
		for (char c : text) regex += (c == '(' || c == ')' ? "\\" : "") + std::string(1, c);
		EXPECT_LOG_ERROR({ graph_reader R; read(R); }, regex);
		return;
	}
	graph_reader R;
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

// Lets the address space of the process grow by `extra` bytes at most. Not under a
// sanitizer, whose shadow memory is address space too.
void limitAddressSpace(long extra) {
#if !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)
	long pages = 0;
	std::ifstream("/proc/self/statm") >> pages;
	rlimit r;
	r.rlim_cur = r.rlim_max = pages * sysconf(_SC_PAGESIZE) + extra;
	setrlimit(RLIMIT_AS, &r);
#endif
}

// Reads `file` in a child that may not allocate 256 MB more, expecting a failure, thrown or
// not, that matches `regex`.
void expectFailureInBoundedMemory(const std::string & file, const std::string & regex) {
	EXPECT_LOG_ERROR({
		limitAddressSpace(256L << 20);
		graph_reader R;
		try {
			R.readBinaryGraph(file);
		} catch (myException & e) {
			LOG.error(e.msg);
		}
	}, regex);
}

}

// The writer's file byte by byte; both versions of one file read back with their log, and
// cut inside each field failing with that field's text; malformed heads, counts and tails.
TEST(graph_reader, Versions22And21) {
	TempDir d;
	testutils::silenceLog();
	std::unique_ptr < genotype_graph > original(smallGraph());
	{
		snp_set sites;
		for (int l = 0 ; l < 2 ; l ++) {
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
		graph_writer(set, "ID_1 ID_2 missing", "").writeBinaryGraph(d.file("w.bin"));
	}
	ASSERT_EQ(d.read("w.bin"), file(true, *original).data);

	for (bool v22 : { true, false }) {
		SCOPED_TRACE(v22 ? "v2.2" : "v2.1");
		const Bytes b = file(v22, *original);
		d.write("g.bin", b.data);
		graph_reader R;
		snp_set * S = R.S.get();
		const std::string log = logOf(d, [&] { R.readBinaryGraph(d.file("g.bin")); });
		EXPECT_EQ(log, "\nReading genotype graphs in [" + d.file("g.bin") + "]\n  * Binary graph file v2." + (v22 ? "2" : "1") + " detected!\n  * 2 sites found\n");
		EXPECT_EQ(R.header1 + "/" + R.header2, "ID_1 ID_2 missing/");
		ASSERT_EQ(R.vecG.size(), 1u);
		EXPECT_EQ(graphtest::dump(*R.vecG[0]), graphtest::dump(*original));
		delete R.vecG[0];
		for (int l = 0 ; l < 2 ; l ++) {
			snp * s = S->getByIndex(l);
			EXPECT_EQ(s->chr + " " + s->id + " " + std::to_string(s->bp) + " " + std::to_string(s->cm) + " " + std::to_string(s->idx) + " " + s->a0 + "/" + s->a1,
				(v22 ? "1" : "rs" + std::to_string(l)) + " rs" + std::to_string(l) + " " + std::to_string(100 + l) + " " + std::to_string(0.5 + l) + " " + std::to_string(l) + " A/" + (l ? "" : "C"));
			EXPECT_EQ(s->properties.size(), v22 && !l ? 2u : 0u);
		}
		for (unsigned int k = 0 ; k < b.fields.size() ; k ++) {
			const size_t start = k ? b.fields[k - 1].end : 0;
			d.write("cut.bin", b.data.substr(0, start + (b.fields[k].end - start) / 2));
			expectFailure(d.file("cut.bin"), b.fields[k].text, b.fields[k].thrown);
		}
	}

	// Heads and tails are tested on their bits only.
	const Bytes b = file(true, *original);
	size_t trans = 0;
	for (unsigned int k = 1 ; k < b.fields.size() ; k ++) if (b.fields[k].text == "#trans") trans = b.fields[k - 1].end;
	auto patched = [&](size_t at, const std::string & bytes) {
		std::string s = b.data;
		s.replace(at, bytes.size(), bytes);
		d.write("p.bin", s);
		return d.file("p.bin");
	};
	const size_t tail = b.data.size() - 2;
	expectFailure(patched(0, "\x2A"), "Binary graph file format unsupported!", false);
	expectFailure(patched(1, std::string(1, '\0')), "Binary graph file format unsupported!", false);
	expectFailure(patched(tail, "\xAA\x05"), "Binary file corrupted (tail)", false);
	expectFailure(patched(trans, "\xFF\xFF\xFF\xFF"), "#trans", true);
	graph_reader T;
	T.readBinaryGraph(patched(tail, "\xFF\x3F"));
	ASSERT_EQ(T.vecG.size(), 1u);
	delete T.vecG[0];
}

// A count made 2^31 - 1 in a short file, whether a string length, a list, array, bit or
// byte count, fails with its field's message before any allocation of that size.
TEST(graph_reader, CorruptCountsFailWithoutHugeAllocation) {
	TempDir d;
	std::unique_ptr < genotype_graph > g(smallGraph());
	const Bytes b = file(true, *g);
	const std::vector < std::pair < std::string, std::string > > cases = {
		{ "reading header1", "reading header1" },
		{ "reading snp 0 number of ids", "reading snp 0 number of ids" },
		{ "reading snp 0 number of properties", "reading snp 0 number of properties" },
		{ "name", "read name failed" },
		{ "number of properties", "read property n=[0-9]+ failed" },
		{ "#trans", "read trans [0-9]+ failed" },
		{ "Ambs vector", "read Ambs vector failed" },
		{ "Haps vector", "read Haps vector failed" },
	};
	for (const auto & c : cases) {
		SCOPED_TRACE(c.first);
		size_t k = 0;
		while (b.fields[k].text != c.first) k ++;
		std::string s = b.data;
		s.replace(k ? b.fields[k - 1].end : 0, 4, "\xFF\xFF\xFF\x7F");
		d.write("c.bin", s);
		expectFailureInBoundedMemory(d.file("c.bin"), c.second);
	}
}

// Three files: site and sample lists in text, graphs of the short record. Faults of each.
TEST(graph_reader, Version20) {
	std::unique_ptr < genotype_graph > first(smallGraph()), second(smallGraph());
	second->type = 3;
	Bytes b;
	b.put((unsigned char)0xAA, "");
	b.put((unsigned char)0x55, "");
	b.put((int32_t)2, "");
	b.graph(*first, false);
	b.graph(*second, false);
	const size_t tail = b.data.size();
	b.data += "\xAA\x55";

	TempDir d;
	const std::map < std::string, std::string > base = { { "sites.txt", "1 100 A C\n1 100 A G\n1 250 G T\n" }, { "samples.txt", "2 kid dad mum\n1 solo 0 0\n" }, { "g.bin", b.data } };
	for (const auto & f : base) d.write(f.first, f.second);
	auto read = [&](graph_reader & R) { R.readBinaryGraph20(d.file("g.bin"), d.file("samples.txt"), d.file("sites.txt")); };
	graph_reader R;
	snp_set * S = R.S.get();
	const std::string log = logOf(d, [&] { read(R); });
	EXPECT_EQ(log, "\nReading site list in [" + d.file("sites.txt") + "]\n  * 3 sites included\n\nReading samples in [" + d.file("samples.txt") + "]\n  * 2 graphs included\n"
		"\nReading graphs in [" + d.file("g.bin") + "]\n  * Binary graph file v2.0 detected!\n");
	EXPECT_EQ(siteList(S), "100:A/C 100:A/G 250:G/T");
	EXPECT_EQ(S->getByIndex(2)->chr + " " + S->getByIndex(2)->id + " " + std::to_string(S->getByIndex(2)->source), "1 . 8");
	// Each line takes three orders; every name is its member's one sample column; the type
	// comes from the graph file.
	const std::vector < std::vector < std::string > > names = { { "kid", "dad", "mum" }, { "solo", "0", "0" } };
	ASSERT_EQ(R.vecG.size(), 2u);
	for (int i = 0 ; i < 2 ; i ++) {
		genotype_graph & e = *(i ? second : first);
		std::vector < std::string > n = names[i], p;
		e.famID = i;
		e.pushChild(n[0], 3 * i, p = { n[0] });
		e.pushFather(n[1], true, 3 * i + 1, p = { n[1] });
		e.pushMother(n[2], true, 3 * i + 2, p = { n[2] });
		EXPECT_EQ(graphtest::dump(*R.vecG[i]), graphtest::dump(e));
		delete R.vecG[i];
	}

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
	for (unsigned int k : { 3u, (unsigned int)b.fields.size() - 1 }) {
		d.write("g.bin", b.data.substr(0, b.fields[k].end - 1));
		expectFailure(read, b.fields[k].text, true);
	}
	// Taken for v2.1 by its head, a v2.0 file fails further on.
	d.write("g.bin", std::string("\xAA\x55\x00\x00\x00\x00\xAA\x55", 8));
	expectFailure(d.file("g.bin"), "reading header2", false);
}
