#include "cli/example_subset.h"
#include "input/graph_reader.h"
#include "test_utils.h"
#include "utils/futils.h"
#include "utils/ofile.h"

#include <cmath>
#include <cstdint>
#include <fstream>
#include <map>
#include <set>

using testutils::RunResult;
using testutils::TempDir;
using testutils::has;
using testutils::lines;
using testutils::refused;
using testutils::readCompressed;
using testutils::runOk;
using testutils::runSorvane;
using testutils::words;

namespace {

// Phases the example subset (16 unrelated, 2 duo and 1 trio records) on one thread with a
// seed, keeping its haplotypes as a.haps/a.sample and its graphs as a.graph; singletons stay
// as the model left them (the conversions below leave them so too).
void phaseWithGraphs(const TempDir & d) {
	exsubset::writeSubset(d);
	RunResult r = runSorvane("--input-ped " + std::string(SORVANE_EXAMPLE_DATA) + "/cohort" + exsubset::subsetArgs() + "--thread 1 --seed 5 --no-rare-phasing --output-max a --output-graph a.graph -L a", d.path);
	ASSERT_EQ(r.status, 0) << r.out;
}

// Positions of the sites of a HAPS file, in order.
std::vector < int > positions(const std::string & haps) {
	std::vector < int > p;
	for (const std::string & l : lines(haps)) p.push_back(std::stoi(words(l)[2]));
	return p;
}

const std::string small_sample = "ID_1 ID_2 missing\n0 0 0\nF1 S1 0\nF2 S2 0\nF3 S3 0\n";
const std::string small_haps =
	"1 rs1 100 A G 0 1 1 1 0 0\n"
	"1 rs2 200 C T 1 0 0 1 1 1\n"
	"1 rs3 300 G A 0 0 1 0 0 1\n"
	"1 rs4 400 T C 1 1 0 0 1 0\n";

// Site-sample entries of HAPS/SAMPLE pair a that pair b has with the two alleles swapped,
// and those that differ otherwise or that b lacks; samples are matched by name.
std::pair < int, int > compareHaps(const std::string & haps_a, const std::string & sample_a, const std::string & haps_b, const std::string & sample_b) {
	std::map < std::string, std::vector < std::string > > x[2];
	const std::string * files[2][2] = { { &haps_a, &sample_a }, { &haps_b, &sample_b } };
	for (auto & f : files) {
		std::vector < std::string > S = lines(*f[1]);
		for (const std::string & l : lines(*f[0])) for (unsigned int i = 2, k = 5 ; i < S.size() ; i ++, k += 2) x[&f - files][words(S[i])[1]].push_back(words(l)[k] + words(l)[k + 1]);
	}
	std::pair < int, int > n(0, 0);
	for (const auto & a : x[0]) for (unsigned int l = 0 ; l < a.second.size() ; l ++) {
		std::string v = l < x[1][a.first].size() ? x[1][a.first][l] : "";
		if (a.second[l] != v) (a.second[l] == std::string(v.rbegin(), v.rend()) ? n.first : n.second) ++;
	}
	return n;
}

}

// The graphs of a run give back its most likely haplotypes, here gzip-compressed by name. Where
// both haplotypes of an unrelated sample pass through one fragment, the graph no longer tells
// them apart and the path beyond is oriented at random, so the two runs may differ there by
// a swap of the pair; nothing else differs. Sampled haplotypes, drawn on two threads, carry
// the input genotypes.
TEST(cli_convert, GraphsGiveTheRunsHaplotypes) {
	TempDir d;
	phaseWithGraphs(d);
	RunResult r = runSorvane("-convert --input-graph a.graph --output-max m.haps.gz m.sample --output-sample s --thread 2 --seed 1 --no-rare-phasing -L c", d.path);
	ASSERT_EQ(r.status, 0) << r.out;
	EXPECT_NE(d.read("m.haps.gz"), d.read("a.haps"));
	EXPECT_EQ(d.read("m.sample"), d.read("a.sample"));
	const std::pair < int, int > n = compareHaps(d.read("a.haps"), d.read("a.sample"), readCompressed(d.file("m.haps.gz")), d.read("m.sample"));
	EXPECT_TRUE(n.first < 20 && n.second == 0) << n.first << " " << n.second;
	EXPECT_EQ(exsubset::checkPhased(d, "s"), (int)lines(d.read("a.haps")).size());
	std::string log = d.read("c.log");
	for (std::string line : { "\nMODE -convert : EXTRACTING HAPLOTYPES FROM GRAPH FILES\n", "  * Binary graph file v2.2 detected!\n",
		"  * 0 haploids / 16 unrelateds / 2 duos / 1 trios\n", "\nSolving haplotypes\n", "\nSampling haplotypes\n", "\nWriting site list and haplotypes in [s.haps]\n" })
		EXPECT_TRUE(has(log, line)) << line << "\n" << log;
}

// The three files of the earlier graph format, made from a run's graphs: the v2.0 record is
// the type and the graph body, without the member fields, which go to the sample list.
TEST(cli_convert, EarlierThreeFileGraphs) {
	TempDir d;
	phaseWithGraphs(d);
	testutils::silenceLog();
	graph_reader R;
	R.readBinaryGraph(d.file("a.graph"));
	std::string samples, sites;
	for (int l = 0 ; l < R.S->size() ; l ++) {
		snp * x = R.S->getByIndex(l);
		sites += x->chr + " " + std::to_string(x->bp) + " " + x->a0 + " " + x->a1 + "\n";
	}
	ofile g20(d.file("g20.bin"), true);
	futils::writeValue(g20, (unsigned char)0xAA);
	futils::writeValue(g20, (unsigned char)0x55);
	futils::writeValue(g20, (int32_t)R.vecG.size());
	for (genotype_graph * g : R.vecG) {
		samples += std::to_string((int)g->type) + " " + g->name + " " + g->fname + " " + g->mname + "\n";
		// With empty names and no sample columns, the member fields take 43 bytes.
		g->name = g->fname = g->mname = "";
		g->properties.clear();
		g->fproperties.clear();
		g->mproperties.clear();
		ofile record(d.file("record"), true);
		g->writeBinary(record);
		record.close();
		std::string bytes = d.read("record");
		g20 << bytes.substr(0, 1) << bytes.substr(43);
		delete g;
	}
	futils::writeValue(g20, (unsigned char)0xAA);
	futils::writeValue(g20, (unsigned char)0x55);
	g20.close();
	d.write("samples.txt", samples);
	d.write("sites.txt", sites);

	RunResult r = runSorvane("-convert --input-graph g20.bin samples.txt sites.txt --output-max x --no-rare-phasing -L c", d.path);
	ASSERT_EQ(r.status, 0) << r.out;
	EXPECT_TRUE(has(d.read("c.log"), "  * Binary graph file v2.0 detected!\n"));
	const std::pair < int, int > n = compareHaps(d.read("a.haps"), d.read("a.sample"), d.read("x.haps"), d.read("x.sample"));
	EXPECT_TRUE(n.first < 20 && n.second == 0) << n.first << " " << n.second;
}

// Pair tables over three windows, one given out of order: per record one line a distinct
// combination with as many indices as the record has haplotypes, probabilities summing to
// one, frequencies over the window haplotypes summing to one. No replicate: empty tables.
TEST(cli_convert, PairTables) {
	TempDir d;
	phaseWithGraphs(d);
	std::vector < int > p = positions(d.read("a.haps"));
	ASSERT_GT(p.size(), 40u);
	auto pos = [&](int k) { return std::to_string(p[k]); };
	d.write("sets", "w1 " + pos(10) + " " + pos(11) + "\nw2 " + pos(30) + " " + pos(20) + " " + pos(25) + "\nw3 " + pos(1) + " " + pos(2) + " " + pos(3) + " " + pos(40) + "\n");
	RunResult r = runSorvane("-convert --input-graph a.graph --input-sets sets --replicate 60 --thread 2 --seed 4 -L c", d.path);
	ASSERT_EQ(r.status, 0) << r.out;
	const std::map < std::string, unsigned int > width = { { "w1", 2 }, { "w2", 3 }, { "w3", 4 } };
	for (const auto & w : width) {
		std::vector < std::string > freqs = lines(readCompressed(d.file(w.first + ".freqs.gz")));
		ASSERT_GE(freqs.size(), 1u) << w.first;
		ASSERT_LE(freqs.size(), 1u << w.second) << w.first;
		double sum = 0.0;
		std::set < std::string > seen;
		for (unsigned int k = 0 ; k < freqs.size() ; k ++) {
			std::vector < std::string > t = words(freqs[k]);
			ASSERT_EQ(t.size(), 3u);
			EXPECT_EQ(t[0], std::to_string(k));
			EXPECT_EQ(t[1].size(), w.second);
			EXPECT_TRUE(seen.insert(t[1]).second) << t[1];
			sum += std::stod(t[2]);
		}
		EXPECT_NEAR(sum, 1.0, 1e-4) << w.first;

		std::map < int, double > total;
		std::map < int, int > types, next;
		for (const std::string & l : lines(readCompressed(d.file(w.first + ".pairs.gz")))) {
			std::vector < std::string > t = words(l);
			int ind = std::stoi(t[0]), type = std::stoi(t[1]);
			ASSERT_EQ(t.size(), 7u + type) << l;
			EXPECT_EQ(std::stoi(t[5]), next[ind] ++) << l;
			EXPECT_EQ(t[6].size(), 7u) << l;
			total[ind] += std::stod(t[6]);
			types[type] += std::stoi(t[5]) == 0;
			for (int k = 7 ; k < 7 + type ; k ++) EXPECT_LT(std::stoul(t[k]), freqs.size()) << l;
		}
		EXPECT_EQ(total.size(), 19u) << w.first;
		for (const auto & x : total) EXPECT_NEAR(x.second, 1.0, 5e-5) << w.first << " record " << x.first;
		EXPECT_EQ(types, (std::map < int, int > { { 2, 16 }, { 3, 2 }, { 4, 1 } })) << w.first;
	}
	EXPECT_TRUE(has(d.read("c.log"), "\nSampling haplotypes 0\nSampling haplotypes 1\n"));
	EXPECT_TRUE(has(d.read("c.log"), "  * 3 windows read\n"));

	RunResult none = runSorvane("-convert --input-graph a.graph --input-sets sets --replicate 0 -L c0", d.path);
	ASSERT_EQ(none.status, 0) << none.out;
	for (std::string w : { "w1", "w2", "w3" }) for (std::string suffix : { ".pairs.gz", ".freqs.gz" })
		EXPECT_EQ(readCompressed(d.file(w + suffix)), "") << w << suffix;
}

// HAPS/SAMPLE into HAPS (unchanged), the reference triple and VCF; then subset by samples
// and sites.
TEST(cli_convert, HaplotypeFiles) {
	TempDir d;
	d.write("in.haps", small_haps);
	d.write("in.sample", small_sample);
	RunResult r = runSorvane("-convert --input-haps in --output-haps o --output-ref r --output-vcf o.vcf -L c", d.path);
	ASSERT_EQ(r.status, 0) << r.out;
	EXPECT_TRUE(has(d.read("c.log"), "\nMODE -convert : CONVERTING/SUBSETTING SORVANE HAPLOTYPES\n"));
	EXPECT_EQ(d.read("o.haps") + d.read("o.sample"), small_haps + small_sample);
	EXPECT_EQ(d.read("r.samples") + d.read("r.legend") + d.read("r.haplotypes"), "ID_1 ID_2 missing\nF1 S1 0\nF2 S2 0\nF3 S3 0\n"
		"id position a0 a1\nrs1 100 A G\nrs2 200 C T\nrs3 300 G A\nrs4 400 T C\n0 1 1 1 0 0\n1 0 0 1 1 1\n0 0 1 0 0 1\n1 1 0 0 1 0\n");
	std::string vcf = d.read("o.vcf");
	EXPECT_TRUE(has(vcf, "##fileformat=VCFv4.2\n##fileDate=20")) << vcf;
	EXPECT_TRUE(has(vcf, "\n##source=SORVANE2.v904\n##log_file=c.log\n##sorvaneCommand=" + std::string(SORVANE_BIN) + " -convert --input-haps in --output-haps o --output-ref r --output-vcf o.vcf -L c\n##contig=<ID=1>\n##FORMAT=<ID=GT,Number=1,Type=String,Description=\"Phased Genotype\">\n"
		"#CHROM\tPOS\tID\tREF\tALT\tQUAL\tFILTER\tINFO\tFORMAT\tS1\tS2\tS3\n"
		"1\t100\trs1\tA\tG\t.\tPASS\t.\tGT\t0|1\t1|1\t0|0\n1\t200\trs2\tC\tT\t.\tPASS\t.\tGT\t1|0\t0|1\t1|1\n"
		"1\t300\trs3\tG\tA\t.\tPASS\t.\tGT\t0|0\t1|0\t0|1\n1\t400\trs4\tT\tC\t.\tPASS\t.\tGT\t1|1\t0|0\t1|0\n")) << vcf;

	d.write("drop", "S2\n");
	d.write("sites", "300\n");
	r = runSorvane("-convert --input-haps in --output-haps sub --exclude-ind drop --exclude-snp sites --output-from 150 -L c", d.path);
	ASSERT_EQ(r.status, 0) << r.out;
	EXPECT_EQ(d.read("sub.sample"), "ID_1 ID_2 missing\n0 0 0\nF1 S1 0\nF3 S3 0\n");
	EXPECT_EQ(d.read("sub.haps"), "1 rs2 200 C T 1 0 1 1\n1 rs4 400 T C 1 1 1 0\n");
}

// Every refusal of the file checks, before anything is read; outputs that the input does
// not use draw a warning and are never created. A run whose last output fails replaces none
// of the files before it.
TEST(cli_convert, ChecksAndWarnings) {
	TempDir d;
	d.write("in.haps", small_haps);
	d.write("in.sample", small_sample);
	d.write("g.graph", "not read");
	const std::vector < std::pair < std::string, std::string > > refusals = {
		{ "--output-haps o", "You must specify exactly one input file with --input-graph or --input-haps" },
		{ "--input-haps in --input-graph g.graph --output-haps o", "You must specify exactly one input file with --input-graph or --input-haps" },
		{ "--input-graph g.graph", "You must specify at least one output file with --output-max, --output-vcf, --output-sample or --input-sets" },
		{ "--input-graph g.graph --output-haps o", "You must specify at least one output file with --output-max, --output-vcf, --output-sample or --input-sets" },
		{ "--input-haps in --output-max o", "You must specify at least one output file with --output-haps or --output-ref or --output-vcf" },
		{ "--input-graph g.graph g.graph --output-max o", "Incorrect number of arguments given to --input-graph" },
		{ "--input-haps in.haps in.sample in.haps --output-haps o", "Incorrect number of arguments given to --input-haps(it must be 2 files)" },
		{ "--input-graph g.graph --output-max a b c", "Incorrect number of arguments given to --output-max" },
		{ "--input-graph g.graph --output-sample a b c", "Incorrect number of arguments given to --output-sample" },
		{ "--input-haps in --output-haps a b c", "Incorrect number of arguments given to --output-haps" },
		{ "--input-haps in --output-ref a b", "Incorrect number of arguments given to --output-ref" },
		{ "--input-graph missing.graph --output-max o", "missing.graph is impossible to open, check file existence or reading permissions" },
		{ "--input-graph g.graph --input-sets nosets --output-max o", "nosets is impossible to open, check file existence or reading permissions" },
		{ "--input-haps in.haps --output-haps o", "in.haps.haps is impossible to open, check file existence or reading permissions" },
		{ "--input-haps in --output-vcf nodir/o.vcf", "nodir/o.vcf is impossible to create, check writing permissions" },
		{ "--input-haps in --output-ref nodir/r", "nodir/r.haplotypes is impossible to create, check writing permissions" },
		{ "--input-graph g.graph --input-sets g.graph --replicate -1", "You must specify a --replicate value of at least 0" },
		{ "--input-haps in --output-vcf ./in.sample", "The output file [./in.sample] of --output-vcf is an input file of --input-haps: writing it would replace the input" },
		{ "--input-haps in --output-haps o --output-ref o --output-vcf o.sample", "The output file [o.sample] is written by both --output-haps and --output-vcf" },
		{ "--input-haps in --output-haps keep --output-vcf /dev/full", "Writing to file [/dev/full] failed: No space left on device" },
	};
	d.write("keep.haps", "kept\n");
	for (const auto & c : refusals) {
		RunResult r = runSorvane("-convert " + c.first + " -L c", d.path);
		EXPECT_TRUE(refused(r, c.second + "\n")) << c.first;
		EXPECT_EQ(has(r.out, "Reading"), has(c.first, "full")) << c.first;
	}
	EXPECT_EQ(d.read("keep.haps"), "kept\n");
	RunResult r = runSorvane("-convert --input-haps in --output-haps o --output-max m --output-sample s -L c", d.path);
	EXPECT_EQ(r.status, 0) << r.out;
	EXPECT_TRUE(has(d.read("c.log"), "WARNING: Options --output-max and --output-sample are unused when specifying --input-haps\n"));
	EXPECT_FALSE(has(d.read("c.log"), "Options --output-haps, --output-ref"));
	EXPECT_EQ(d.read("o.haps"), small_haps);

	phaseWithGraphs(d);
	r = runSorvane("-convert --input-graph a.graph --output-max m --output-haps h --output-vcf v.vcf -L c", d.path);
	EXPECT_EQ(r.status, 0) << r.out;
	EXPECT_TRUE(has(d.read("c.log"), "WARNING: Options --output-haps and --output-ref cannot be used when specifying --input-graph\n"));
	EXPECT_TRUE(has(d.read("c.log"), "\nPlacing singletons from the haplotypes around them\n"));
	EXPECT_EQ(lines(d.read("m.haps")).size(), lines(d.read("a.haps")).size());
	// The VCF holds the haplotypes of m.haps with their phase confidence.
	EXPECT_EQ(runOk("bcftools query -f '[%GT]\\n' v.vcf | tr -d '|'", d.path), runOk("cut -d ' ' -f 6- m.haps | tr -d ' '", d.path));
	const std::pair < int, int > rated = exsubset::confidenceFaults(d, "v.vcf");
	EXPECT_TRUE(rated.first == 0 && rated.second > 1000) << rated.first << " " << rated.second;
	for (std::string unused : { "h.haps", "h.sample", "s.haps" }) EXPECT_FALSE(std::ifstream(d.file(unused)).good()) << unused;
}

// A damaged graph file, or a sets file whose tables cannot be written, stops the run before
// any output, naming the file; blank lines of a sets file are passed over.
TEST(cli_convert, DamagedGraphsAndSets) {
	TempDir d;
	phaseWithGraphs(d);
	const std::string graph = d.read("a.graph");
	std::vector < int > p = positions(d.read("a.haps"));
	const std::string window = " " + std::to_string(p[1]) + " " + std::to_string(p[2]) + "\n";
	std::string flipped = graph;
	flipped[graph.size() / 2] ^= 0x10;
	const std::vector < std::pair < std::string, std::string > > cases = {
		{ flipped, "Graph file [b.graph] is corrupted: its checksum does not match its content" },
		{ graph.substr(0, graph.size() - 1), "Graph file [b.graph] ends inside its checksum: the file is truncated" },
		{ graph + "\n", "Graph file [b.graph] goes on after its checksum" },
		{ graph.substr(0, graph.size() / 2), "Graph file [b.graph], graph " },
	};
	d.write("sets", "w1" + window);
	for (const auto & c : cases) {
		d.write("b.graph", c.first);
		EXPECT_TRUE(refused(runSorvane("-convert --input-graph b.graph --input-sets sets --output-max m -L c", d.path), c.second));
		for (std::string out : { "m.haps", "m.sample", "w1.pairs.gz" }) EXPECT_FALSE(std::ifstream(d.file(out)).good()) << out;
	}
	d.write("sets", "w1" + window + "\nnodir/w2" + window);
	RunResult r = runSorvane("-convert --input-graph a.graph --input-sets sets --replicate 5 -L c", d.path);
	EXPECT_TRUE(refused(r, "The table nodir/w2.pairs.gz of window nodir/w2 is impossible to create, check writing permissions\n"));
	EXPECT_FALSE(has(r.out, "Sampling haplotypes"));
	EXPECT_FALSE(std::ifstream(d.file("w1.pairs.gz")).good());
}
