#include "cli/example_subset.h"
#include "input/graph_reader.h"
#include "objects/snp_set.h"
#include "test_utils.h"

#include <cstdint>
#include <fstream>
#include <map>
#include <sstream>
#include <tuple>

using namespace testutils;
using namespace exsubset;

// Each genotype format phases the same samples and sites, with duos and a trio among them.
// A thread a sample is more than the batches can use: the 19 PED units are phased at most 18
// at a time, so that each keeps the 2 haplotypes of an unrelated sample to copy from.
TEST(cli_phase, EveryFormatPhasesAndKeepsGenotypes) {
	TempDir d;
	writeSubset(d);
	const std::string E = SORVANE_EXAMPLE_DATA;
	const std::string families = "  * 0 haploids / 16 unrelateds / 2 duos / 1 trios\n";
	const std::string lowered = "  * Threads lowered from 23 to 18: no more samples can be phased at once while each keeps at least 2 haplotypes to copy from\n";
	struct Run { std::string name, args, units, threads; };
	const std::vector < Run > runs = {
		{ "vcf", "--input-vcf " + E + "/cohort.vcf.gz --input-map " + E + "/genetic_map.txt --thread 2", "  * 0 haploids / 23 unrelateds / 0 duos / 0 trios\n", "" },
		{ "gen", "--input-gen " + E + "/cohort.gen " + E + "/cohort.sample", families, "" },
		{ "ped", "--input-ped " + E + "/cohort --thread 23", families, lowered },
		{ "bed", "--input-bed " + E + "/cohort --input-ref " + E + "/reference.haplotypes " + E + "/reference.legend " + E + "/reference.samples", families, "" },
	};
	int sites = -1;
	for (const Run & run : runs) {
		RunResult r = runSorvane(run.args + subsetArgs() + "--seed 3 --output-max " + run.name + " -L " + run.name, d.path);
		ASSERT_EQ(r.status, 0) << run.args << "\n" << r.out << r.err;
		std::string log = d.read(run.name + ".log");
		EXPECT_TRUE(has(log, run.units)) << log;
		EXPECT_EQ(has(log, " genotypes in Mendel errors set missing\n"), run.units == families) << log;
		EXPECT_EQ(has(log, "Threads lowered"), !run.threads.empty()) << log;
		EXPECT_TRUE(has(log, run.threads)) << log;
		// Each iteration with its time, and at the end the time of each stage and the memory.
		for (std::string line : { "\nBurn-in iteration [1/1]\n  * Time: ", "\nPruning iteration [1/1]\n  * Time: ", "Main iteration [2/2]\n  * Time: ", "Solving haplotypes",
				"\nTime by stage: reading ", " s / graphs ", " s / iterations ", " s / solving ", " s / writing ", "\nPeak memory: " })
			EXPECT_TRUE(has(log, line)) << run.name << ": " << line;
		// Redirected, the screen gets plain lines: no colour, no "\r", the iterations' times.
		EXPECT_EQ(r.out.find_first_of("\r\033"), std::string::npos) << r.out;
		EXPECT_TRUE(has(r.out, "\nBuilding graphs [") && has(r.out, " s / ~") && has(r.out, " s left\n")) << r.out;
		int n = checkPhased(d, run.name);
		if (sites < 0) sites = n;
		EXPECT_EQ(n, sites) << run.name;
	}
}

// One thread and one seed give the same files; the graph file reads back with one graph a
// sampling unit.
TEST(cli_phase, SeedReproducesAndGraphReadsBack) {
	TempDir d;
	writeSubset(d);
	const std::string args = "--input-ped " + std::string(SORVANE_EXAMPLE_DATA) + "/cohort" + subsetArgs() + "--thread 1 --seed 5 ";
	RunResult r1 = runSorvane(args + "--output-max a --output-graph a.graph -L a", d.path);
	RunResult r2 = runSorvane(args + "--output-max b.haps b.sample -L b", d.path);
	ASSERT_EQ(r1.status, 0) << r1.out;
	ASSERT_EQ(r2.status, 0) << r2.out;
	checkPhased(d, "a");
	EXPECT_EQ(d.read("a.haps"), d.read("b.haps"));
	EXPECT_EQ(d.read("a.sample"), d.read("b.sample"));
	RunResult r3 = runSorvane(args.substr(0, args.find("--seed")) + "--seed 6 --output-max c -L c", d.path);
	ASSERT_EQ(r3.status, 0);
	checkPhased(d, "c");
	// The selection by the transform is reproducible too, on every kind of family.
	for (std::string out : { "p", "q" }) ASSERT_EQ(runSorvane(args + "--selection pbwt --output-max " + out + " -L " + out, d.path).status, 0);
	checkPhased(d, "p");
	EXPECT_EQ(d.read("p.haps"), d.read("q.haps"));
	EXPECT_TRUE(has(d.read("p.log"), "\n  * Conditioning haplotypes: longest local matches (PBWT) among "));

	silenceLog();
	graph_reader R;
	R.readBinaryGraph(d.file("a.graph"));
	std::map < int, int > types;
	for (genotype_graph * G : R.vecG) types[G->type] ++;
	EXPECT_EQ(types, (std::map < int, int > { { 2, 16 }, { 3, 2 }, { 4, 1 } }));
	EXPECT_EQ(R.S->size(), (int)lines(d.read("a.haps")).size());
	for (genotype_graph * G : R.vecG) delete G;
}

// A write that fails (a full disk), two outputs of one name or an output that is an input
// end the run with exit 1 and a message naming the file, and every existing file stays as
// it was: the outputs get their names only once all of them are complete.
TEST(cli_phase, FailedOrClashingOutputsChangeNothing) {
	TempDir d;
	writeSubset(d);
	const std::string ped = std::string(SORVANE_EXAMPLE_DATA) + "/cohort";
	const std::string base = "--input-ped " + ped + subsetArgs() + "--seed 1 -L log ";
	const std::string full = "Writing to file [/dev/full] failed: No space left on device\n";
	const std::pair < std::string, std::string > cases[] = {
		{ "--output-max /dev/full /dev/full", full },
		{ "--output-max b --output-graph /dev/full", full },
		{ "--output-max b --duohmm --output-duohmm-errors /dev/full", full },
		{ "--output-max b --duohmm --output-duohmm-errors b.haps", "The output file [b.haps] is written by both --output-duohmm-errors and --output-max\n" },
		{ "--output-max b --output-graph " + ped + ".map", "The output file [" + ped + ".map] of --output-graph is an input file of --input-ped: writing it would replace the input\n" },
	};
	d.write("b.haps", "kept\n");
	for (const auto & c : cases) {
		EXPECT_TRUE(refused(runSorvane(base + c.first, d.path), c.second)) << c.first;
		EXPECT_EQ(d.read("b.haps"), "kept\n") << c.first;
	}
}

// --duohmm works from every format that carries a pedigree, with the same result: each
// child's allele from its father sits on haplotype 0 and its allele from its mother on
// haplotype 1 wherever the genotypes are known, but at a few sites (6 here, under 1 %) where
// the short population phasing flipped a single site of a child: the model takes such a
// site for a genotyping error rather than for two switches.
TEST(cli_phase, DuohmmOnEveryPedigreeFormat) {
	TempDir d;
	writeSubset(d);
	const std::string E = SORVANE_EXAMPLE_DATA;
	static const std::map < std::string, std::map < int, int > > G = vcfGenotypes();
	const std::vector < std::pair < std::string, std::string > > runs = {
		{ "gen", "--input-gen " + E + "/cohort.gen " + E + "/cohort.sample" },
		{ "ped", "--input-ped " + E + "/cohort" },
		{ "bed", "--input-bed " + E + "/cohort" },
	};
	// Child, parent, haplotype of the child that the parent gave.
	const std::vector < std::tuple < std::string, std::string, int > > links = {
		{ "IND0004", "IND0003", 0 }, { "IND0011", "IND0010", 1 }, { "IND0058", "IND0056", 0 }, { "IND0058", "IND0057", 1 },
	};
	for (const std::pair < std::string, std::string > & run : runs) {
		RunResult r = runSorvane(run.second + subsetArgs() + "--thread 1 --seed 4 --duohmm --output-max " + run.first + " -L " + run.first, d.path);
		ASSERT_EQ(r.status, 0) << run.second << "\n" << r.out << r.err;
		EXPECT_TRUE(has(d.read(run.first + ".log"), "  * 0 haploids / 23 unrelateds / 0 duos / 0 trios\n"));
		EXPECT_TRUE(has(r.out, "\nCorrecting haplotypes based on pedigree structure [3/3]\n")) << r.out;
		checkPhased(d, run.first);
		std::vector < std::string > S = lines(d.read(run.first + ".sample"));
		std::vector < std::string > ids;
		for (unsigned int i = 2 ; i < S.size() ; i ++) ids.push_back(words(S[i])[1]);
		int checked = 0, wrong = 0;
		std::string alleles;
		for (const std::string & l : lines(d.read(run.first + ".haps"))) {
			std::vector < std::string > t = words(l);
			int pos = std::stoi(t[2]);
			for (unsigned int k = 5 ; k < t.size() ; k ++) alleles += t[k];
			for (const std::tuple < std::string, std::string, int > & x : links) {
				int c = std::find(ids.begin(), ids.end(), std::get < 0 > (x)) - ids.begin();
				int g = G.at(std::get < 1 > (x)).at(pos), a = std::stoi(t[5 + 2 * c + std::get < 2 > (x)]);
				if (g < 0 || G.at(std::get < 0 > (x)).at(pos) < 0) continue;
				wrong += a ? g == 0 : g == 2;
				checked ++;
			}
		}
		EXPECT_GT(checked, 1000);
		EXPECT_LE(wrong, checked / 100) << run.first << ": " << wrong << " of " << checked;
		static const std::string first = alleles;
		EXPECT_EQ(alleles, first) << run.first;
	}
}

// --duohmm needs both parents' columns, which a VCF does not have: the run stops once the
// sample list is read, before the MCMC.
TEST(cli_phase, DuohmmNeedsPedigreeColumns) {
	TempDir d;
	writeSubset(d);
	RunResult r = runSorvane("--input-vcf " + std::string(SORVANE_EXAMPLE_DATA) + "/cohort.vcf.gz" + subsetArgs() + "--output-max o -L log --duohmm", d.path);
	EXPECT_TRUE(refused(r, "The --duohmm option needs the father and the mother of each sample, and the sample data of this input have no father or mother column (a VCF file carries none)\n"));
	EXPECT_FALSE(has(r.out, "Building")) << r.out;
}

// Pedigrees that cannot be (a cycle of descent, one sample as both parents, a sample named
// 0) stop the run once the samples are read, before any phasing or output.
TEST(cli_phase, ImpossiblePedigrees) {
	TempDir d;
	d.write("p.map", "1 rs1 0 100\n1 rs2 0 200\n1 rs3 0 300\n");
	const std::vector < std::pair < std::string, std::string > > cases = {
		{ "s1 s2 0\ns2 s3 0\ns3 s1 0\n", "Pedigree cycle: s1 -> s3 -> s2 -> s1" },
		{ "s1 0 0\ns2 0 0\ns3 s1 s1\n", "Individual s1 is given as both father and mother of s3" },
		{ "0 0 0\ns2 0 0\ns3 0 0\n", "A sample is named 0, which stands for an absent parent: give it another identifier" },
	};
	for (const auto & c : cases) {
		std::string ped;
		for (const std::string & l : lines(c.first)) ped += "F " + l + " 1 -9 A C A A C C\n";
		for (int i = 4 ; i <= 12 ; i ++) ped += "F s" + std::to_string(i) + " 0 0 2 -9 A A C A C C\n";
		d.write("p.ped", ped);
		EXPECT_TRUE(refused(runSorvane("--input-ped p --duohmm --output-max o -L log", d.path), c.second + "\n"));
		EXPECT_FALSE(std::ifstream(d.file("o.haps")).good());
	}
}

// The copying states file: unknown samples and malformed lines stop the run with the line;
// every sample to phase needs a line.
TEST(cli_phase, CopyingStatesFile) {
	TempDir d;
	writeSubset(d);
	const std::string E = SORVANE_EXAMPLE_DATA, rest = subsetArgs() + "--output-max o -L log --input-copy-states copy";
	const std::string first = "IND0001 0 IND0002 IND0005\n";
	const std::vector < std::pair < std::string, std::string > > cases = {
		{ first + "IND9999 0 IND0002\n", "Line 2 of copy: sample IND9999 is not in the data" },
		{ first + "IND0002 0 IND0001 NOBODY\n", "Line 2 of copy: sample NOBODY is not in the data" },
		{ first + "\nIND0002 1050000\n", "Line 3 of copy: a window needs the sample, the position where it starts and at least one sample to copy from" },
		{ first + "IND0001 0 IND0003\n", "Line 2 of copy: the windows of sample IND0001 must come in increasing position order" },
		{ "IND0001 10x IND0002\n", "Position 10x at line 1 of [copy] is not a whole number" },
		{ "IND0001 -5 IND0002\n", "Line 1 of copy: the position -5 is not a base-pair position" },
		{ "IND0001 1200000 IND0002\n", "Line 1 of copy: the position 1200000 is after the last site" },
		{ "IND0001 0 IND0002 IND0001\n", "Line 1 of copy: sample IND0001 cannot copy from itself" },
		{ first, "No copying states given for sample IND0002 in copy" },
		{ "IND0003 0 IND0001\n", "Line 1 of copy: sample IND0003 is phased with its family, under the name of its child IND0004: give that name instead" },
	};
	for (const std::pair < std::string, std::string > & c : cases) {
		d.write("copy", c.first);
		// Read from the PED file, the subset has its duos and trio.
		RunResult r = runSorvane((has(c.first, "IND0003") ? "--input-ped " + E + "/cohort" : "--input-vcf " + E + "/cohort.vcf.gz") + rest, d.path);
		EXPECT_TRUE(refused(r, c.second + "\n") && has(r.out, "\nReading copying states in [copy]\n")) << c.first;
	}
	EXPECT_TRUE(has(d.read("log.log"), "Window-based model with user specification of the copying states"));
}

// With --no-rare-phasing the output is that of the plain model, recorded as the FNV-1a hash
// of its HAPS file (PED subset, one thread, seed 5; again for the single precision model); by default singletons are placed
// after the model, which keeps every genotype and changes only some of their haplotypes.
TEST(cli_phase, RarePhasingAndItsOption) {
	TempDir d;
	writeSubset(d);
	const std::string args = "--input-ped " + std::string(SORVANE_EXAMPLE_DATA) + "/cohort" + subsetArgs() + "--thread 1 --seed 5 ";
	ASSERT_EQ(runSorvane(args + "--no-rare-phasing --output-max plain -L plain", d.path).status, 0);
	ASSERT_EQ(runSorvane(args + "--output-max placed -L placed", d.path).status, 0);
	// Few haplotypes to copy from: the automatic selection is the Hamming one, byte for byte.
	ASSERT_EQ(runSorvane(args + "--no-rare-phasing --selection hamming --output-max hamming -L hamming", d.path).status, 0);
	const std::string plain = d.read("plain.haps");
	EXPECT_EQ(d.read("hamming.haps"), plain);
	EXPECT_TRUE(has(d.read("plain.log"), "  * Conditioning state selection: auto\n"));
	EXPECT_TRUE(has(d.read("plain.log"), "\n  * Conditioning haplotypes: smallest Hamming distance among "));
	EXPECT_EQ(testutils::fnv1a(plain), 0x979a6bab12f16c64ULL);
	EXPECT_TRUE(has(d.read("plain.log"), "  * Rare variants left as sampled\n"));
	const std::string log = d.read("placed.log");
	EXPECT_TRUE(has(log, "  * Rare variants placed from the matches around them\n"));
	EXPECT_TRUE(has(log, "\nPlacing singletons from the haplotypes around them\n"));
	checkPhased(d, "placed");
	EXPECT_NE(d.read("placed.haps"), plain);
}
