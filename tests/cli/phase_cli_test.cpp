#include "cli/example_subset.h"

#include <algorithm>
#include <tuple>

using namespace testutils;
using namespace exsubset;

// Each format phases the same samples and sites; the 19 PED units are phased at most 18 at a time.
TEST(cli_phase, EveryFormatPhasesAndKeepsGenotypes) {
	TempDir d;
	writeSubset(d);
	const std::string families = "  * 0 haploids / 16 unrelateds / 2 duos / 1 trios\n", lowered = "  * Threads lowered from 23 to 18: no more samples can be phased at once while each keeps at least 2 haplotypes to copy from\n";
	struct Run { std::string name, args, units, threads; };
	const std::vector < Run > runs = {
		{ "vcf", "--input-vcf " + E + "/cohort.vcf.gz --input-map " + E + "/genetic_map.txt --thread 2", "  * 0 haploids / 23 unrelateds / 0 duos / 0 trios\n", "" },
		{ "gen", "--input-gen " + E + "/cohort.gen " + E + "/cohort.sample", families, "" },
		{ "ped", "--input-ped " + E + "/cohort --thread 23", families, lowered },
		{ "bed", "--input-bed " + E + "/cohort" + PANEL, families, "" },
	};
	int sites = -1;
	for (const Run & run : runs) {
		RunResult r = phaseSubset(d, run.args + " --seed 3", run.name);
		const std::string log = d.read(run.name + ".log");
		EXPECT_TRUE(hasAll(log, { run.units, run.threads, "Main iteration [2/2]\n" }));
		EXPECT_EQ(has(log, " genotypes in Mendel errors set missing\n"), run.units == families) << run.name;
		EXPECT_EQ(has(log, "Threads lowered"), !run.threads.empty()) << run.name;
		EXPECT_EQ(r.out.find_first_of("\r\033"), std::string::npos) << r.out;
		int n = checkPhased(d, run.name);
		if (sites < 0) sites = n;
		EXPECT_EQ(n, sites) << run.name;
	}
}

// One thread and one seed give the same files; few haplotypes make the automatic selection Hamming.
TEST(cli_phase, SeedAndRarePhasing) {
	TempDir d;
	writeSubset(d);
	const std::string args = "--input-ped " + E + "/cohort --thread 1 --seed 5 ";
	phaseSubset(d, args + "--no-rare-phasing", "plain");
	const std::map < std::string, std::string > runs = { { "hamming", "--no-rare-phasing --selection hamming" }, { "placed", "" }, { "p", "--selection pbwt --output-vcf p.vcf" } };
	for (const auto & run : runs) phaseSubset(d, args + run.second, run.first);
	const std::string plain = d.read("plain.haps");
	EXPECT_EQ(testutils::fnv1a(plain), 0x979a6bab12f16c64ULL);
	EXPECT_EQ(d.read("hamming.haps"), plain);
	EXPECT_TRUE(hasAll(d.read("plain.log"), { "  * Conditioning state selection: auto\n", "\n  * Conditioning haplotypes: smallest Hamming distance among ", "  * Rare variants left as sampled\n" }));
	EXPECT_TRUE(hasAll(d.read("placed.log"), { "  * Rare variants placed from the matches around them\n", "\nPlacing singletons from the haplotypes around them\n" }));
	checkPhased(d, "placed");
	EXPECT_NE(d.read("placed.haps"), plain);
	checkPhased(d, "p");
	EXPECT_TRUE(hasAll(d.read("p.log"), { "\n  * Conditioning haplotypes: longest local matches (PBWT) among ", "  * MCMC: 6 iterations [1 B + 3 runs of 1 P + 2 M], the default of the PBWT selection\n" }));
	// The transform's states take their own map of the phase confidence, within 0.5 .. 1 too.
	const std::pair < int, int > rated = exsubset::confidenceFaults(d, "p.vcf");
	EXPECT_EQ(rated.first, 0);
	EXPECT_GT(rated.second, 100);
}

TEST(cli_phase, FailedOrClashingOutputsChangeNothing) {
	TempDir d;
	writeSubset(d);
	const std::string ped = E + "/cohort", base = "--input-ped " + ped + subsetArgs() + "--seed 1 -L log ", full = "Writing to file [/dev/full] failed: No space left on device\n";
	d.write("b.haps", "kept\n");
	for (const auto & c : std::vector < std::pair < std::string, std::string > > {
		{ "--output-max /dev/full /dev/full", full },
		{ "--output-max b --output-graph /dev/full", full },
		{ "--output-max b --duohmm --output-duohmm-errors /dev/full", full },
		{ "--output-max b --duohmm --output-duohmm-errors b.haps", "The output file [b.haps] is written by both --output-duohmm-errors and --output-max\n" },
		{ "--output-max b --output-graph " + ped + ".map", "The output file [" + ped + ".map] of --output-graph is an input file of --input-ped: writing it would replace the input\n" } }) {
		EXPECT_TRUE(refused(runSorvane(base + c.first, d.path), c.second)) << c.first;
		EXPECT_EQ(d.read("b.haps"), "kept\n") << c.first;
	}
}

// --duohmm gives the same result from every pedigree format: the father's allele on haplotype 0.
TEST(cli_phase, DuohmmOnEveryPedigreeFormat) {
	TempDir d;
	writeSubset(d);
	const std::map < std::string, std::map < int, int > > G = vcfGenotypes();
	const std::vector < std::tuple < std::string, std::string, int > > links = { { "IND0004", "IND0003", 0 }, { "IND0011", "IND0010", 1 }, { "IND0058", "IND0056", 0 }, { "IND0058", "IND0057", 1 } };
	std::string first;
	for (std::string input : { "--input-gen " + E + "/cohort.gen " + E + "/cohort.sample", "--input-ped " + E + "/cohort", "--input-bed " + E + "/cohort" }) {
		const std::string stem = input.substr(8, 3);
		phaseSubset(d, input + " --thread 1 --seed 4 --duohmm", stem);
		EXPECT_TRUE(has(d.read(stem + ".log"), "  * 0 haploids / 23 unrelateds / 0 duos / 0 trios\n"));
		checkPhased(d, stem);
		const Haplotypes H(d.file(stem));
		int checked = 0, wrong = 0;
		std::string alleles;
		for (const auto & site : H.alleles) {
			for (int a : site.second) alleles += '0' + a;
			for (const auto & x : links) {
				int g = G.at(std::get < 1 > (x)).at(site.first), a = site.second[2 * H.index(std::get < 0 > (x)) + std::get < 2 > (x)];
				if (g < 0 || G.at(std::get < 0 > (x)).at(site.first) < 0) continue;
				wrong += a ? g == 0 : g == 2;
				checked ++;
			}
		}
		EXPECT_GT(checked, 1000);
		EXPECT_LE(wrong, checked / 100) << stem << ": " << wrong << " of " << checked;
		if (first.empty()) first = alleles;
		EXPECT_EQ(alleles, first) << stem;
	}
}

TEST(cli_phase, DataRefusedBeforePhasing) {
	TempDir d;
	writeSubset(d);
	d.write("p.map", "1 rs1 0 100\n1 rs2 0 200\n1 rs3 0 300\n");
	auto ped = [](const std::string & trio) {
		std::string p;
		for (const std::string & l : lines(trio)) p += "F " + l + " 1 -9 A C A A C C\n";
		for (int i = 4 ; i <= 12 ; i ++) p += "F s" + std::to_string(i) + " 0 0 2 -9 A A C A C C\n";
		return p;
	};
	const std::string vcf = "--input-vcf " + E + "/cohort.vcf.gz" + subsetArgs() + "--input-copy-states copy", pedsub = "--input-ped " + E + "/cohort" + subsetArgs() + "--input-copy-states copy";
	const std::string first = "IND0001 0 IND0002 IND0005\n";
	struct Case { std::string file, content, args, message; };
	const std::vector < Case > cases = {
		{ "", "", "--input-vcf " + E + "/cohort.vcf.gz" + subsetArgs() + "--duohmm", "The --duohmm option needs the father and the mother of each sample, and the sample data of this input have no father or mother column (a VCF file carries none)" },
		{ "p.ped", ped("s1 s2 0\ns2 s3 0\ns3 s1 0\n"), "--input-ped p --duohmm", "Pedigree cycle: s1 -> s3 -> s2 -> s1" },
		{ "p.ped", ped("s1 0 0\ns2 0 0\ns3 s1 s1\n"), "--input-ped p --duohmm", "Individual s1 is given as both father and mother of s3" },
		{ "p.ped", ped("0 0 0\ns2 0 0\ns3 0 0\n"), "--input-ped p --duohmm", "A sample is named 0, which stands for an absent parent: give it another identifier" },
		{ "copy", first + "IND9999 0 IND0002\n", vcf, "Line 2 of copy: sample IND9999 is not in the data" },
		{ "copy", first + "IND0002 0 IND0001 NOBODY\n", vcf, "Line 2 of copy: sample NOBODY is not in the data" },
		{ "copy", first + "\nIND0002 1050000\n", vcf, "Line 3 of copy: a window needs the sample, the position where it starts and at least one sample to copy from" },
		{ "copy", first + "IND0001 0 IND0003\n", vcf, "Line 2 of copy: the windows of sample IND0001 must come in increasing position order" },
		{ "copy", "IND0001 10x IND0002\n", vcf, "Position 10x at line 1 of [copy] is not a whole number" },
		{ "copy", "IND0001 -5 IND0002\n", vcf, "Line 1 of copy: the position -5 is not a base-pair position" },
		{ "copy", "IND0001 1200000 IND0002\n", vcf, "Line 1 of copy: the position 1200000 is after the last site" },
		{ "copy", "IND0001 0 IND0002 IND0001\n", vcf, "Line 1 of copy: sample IND0001 cannot copy from itself" },
		{ "copy", first, vcf, "No copying states given for sample IND0002 in copy" },
		{ "copy", "IND0003 0 IND0001\n", pedsub, "Line 1 of copy: sample IND0003 is phased with its family, under the name of its child IND0004: give that name instead" },
	};
	for (const Case & c : cases) {
		if (!c.file.empty()) d.write(c.file, c.content);
		RunResult r = runSorvane(c.args + " --output-max o -L log", d.path);
		EXPECT_TRUE(refused(r, c.message + "\n")) << c.content;
		EXPECT_FALSE((c.file != "copy" && has(r.out, "Building")) || exists(d.file("o.haps"))) << c.args;
		EXPECT_EQ(has(r.out, "\nReading copying states in [copy]\n"), c.file == "copy") << c.content;
	}
}
