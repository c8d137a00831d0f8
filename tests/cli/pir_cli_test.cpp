#include "cli/example_subset.h"
#include "test_utils.h"

#include <cstdio>
#include <set>
#include <unistd.h>

using namespace exsubset;
using namespace testutils;

namespace {

const std::string E = SORVANE_EXAMPLE_DATA;

// The PIR file of the example reads: its text, its samples, and per sample the pairs of
// sites that one of its reads covers.
struct ExampleReads {
	std::string text;
	std::vector < std::string > ids;
	exsubset::site_pairs joined;

	ExampleReads() : text(testutils::readCompressed(E + "/reads/reads.pir.gz")) {
		std::vector < std::string > L = testutils::lines(text);
		const int M = std::stoi(testutils::words(L[0])[1]);
		std::vector < int > positions;
		for (int m = 1 ; m <= M ; m ++) positions.push_back(std::stoi(testutils::words(L[m])[0]));
		for (unsigned int i = M + 1 ; i < L.size() ; ) {
			const std::vector < std::string > head = testutils::words(L[i]);
			ids.push_back(head[0]);
			std::set < std::pair < int, int > > & J = joined[head[0]];
			const int R = std::stoi(head[1]);
			for (int r = 1 ; r <= R ; r ++) {
				const std::vector < std::string > w = testutils::words(L[i + r]);
				for (unsigned int a = 0 ; a < w.size() ; a += 3) for (unsigned int b = 0 ; b < w.size() ; b += 3) {
					const int x = positions[std::stoi(w[a])], y = positions[std::stoi(w[b])];
					if (x < y) J.insert({ x, y });
				}
			}
			i += R + 1;
		}
	}
};

int count(const std::string & text, const std::string & part) {
	int n = 0;
	for (size_t at = text.find(part) ; at != std::string::npos ; at = text.find(part, at + 1)) n ++;
	return n;
}

}

// The example reads: -assemble phases their samples with a lower switch error than -phase
// on the same data and seed, and a much lower one at the pairs of heterozygotes that a read
// joins (about 6 % against 1 %); twice the totals in the log, an unknown sample passed over,
// reproducible on one thread, and as good on two.
TEST(cli_pir, AssembleExampleReads) {
	TempDir d;
	const ExampleReads reads;
	ASSERT_EQ(reads.ids.size(), 30u);
	std::string list;
	for (const std::string & id : reads.ids) list += id + "\n";
	d.write("list", list);
	d.write("reads.pir", reads.text + "NOBODY 1\n0 A 20 1 T 20\n");
	const Haplotypes truth(E + "/truth");
	const std::string common = "--input-vcf " + E + "/cohort.vcf.gz --include-ind list --burn 1 --prune 1 --main 2 --states 20 --seed 3 ";
	ASSERT_EQ(runSorvane(common + "--output-max phased -L phased", d.path).status, 0);
	for (std::string run : { "one", "again", "two" }) {
		RunResult r = runSorvane("-assemble " + common + "--input-pir reads.pir --thread " + (run == "two" ? "2" : "1") + " --output-max " + run + " -L " + run, d.path);
		ASSERT_EQ(r.status, 0) << r.out;
	}
	EXPECT_EQ(d.read("one.haps"), d.read("again.haps"));
	long pairs, joined;
	const double phased = switchError(Haplotypes(d.file("phased")), truth, reads.ids, pairs);
	const double phased_joined = switchError(Haplotypes(d.file("phased")), truth, reads.ids, joined, &reads.joined);
	ASSERT_GT(pairs, 4000);
	ASSERT_GT(joined, 800);
	for (std::string run : { "one", "two" }) {
		const Haplotypes out(d.file(run));
		ASSERT_EQ(out.ids, reads.ids);
		const double assembled_joined = switchError(out, truth, reads.ids, joined, &reads.joined);
		EXPECT_LT(assembled_joined, 0.05) << run;
		// Two threads draw in no fixed order: the comparison with -phase is made on the
		// seeded run only.
		if (run == "one") {
			EXPECT_LT(switchError(out, truth, reads.ids, pairs), phased);
			EXPECT_LT(assembled_joined, phased_joined / 2);
		}
		const std::string log = d.read(run + ".log");
		EXPECT_TRUE(has(log, "MODE -assemble : READ AWARE PHASING\n  * Autosome (chr1 ... chr22)\n  * Window-based model (SORVANE v2)\n  * No reference panel used\n  * Gibbs sampling\n"));
		EXPECT_EQ(count(log, "\nReading map in [reads.pir]\n  * 1081 sites found in the genotype map\n  * 0 sites not found in the genotype map\n"), 2) << log;
		EXPECT_EQ(count(log, "  * 30/31 samples covered by PIRs\n  * 1 records of samples not in the data skipped\n  * 0 records of samples in duos or trios skipped\n"), 2) << log;
		EXPECT_EQ(count(log, " graph segments covered by PIRs\n"), 2);
		EXPECT_FALSE(has(log, "WARNING"));
	}
}

// Malformed PIR files stop -assemble with a message naming the line; a file with only its
// map changes nothing and says so; every record is read, past the number of graphs too.
TEST(cli_pir, AssembleMalformedFiles) {
	TempDir d;
	writeSubset(d);
	const std::string map = "MAP 2\n1000474 A G\n1000741 T G\n";
	std::string others;
	for (int k = 0 ; k < 30 ; k ++) others += "OTHER" + std::to_string(k) + " 0\n";
	const std::vector < std::pair < std::string, std::string > > cases = {
		{ "MAPPING 2\n", "ERROR: PIRs file wrongly formatted (I do not detect a map inside)!" },
		{ "MAP two\n", "ERROR: PIRs file wrongly formatted at line 1 of [reads.pir]: the number of map lines [two] is not a whole number" },
		{ map + "IND0001 1\n0 A 20 2 G 20\n", "ERROR: PIRs file wrongly formatted at line 5 of [reads.pir]: the map index [2] is not within the map of 2 lines" },
		{ map + "IND0001 1\n0 A 20 1 G\n", "ERROR: PIRs file wrongly formatted at line 5 of [reads.pir]: a read is made of triples (map index, base, Phred quality), this line has 5 words" },
		{ map + "IND0001 1\n0 A 20 1 G 20\n\nIND0001 0\n", "ERROR: PIRs file [reads.pir] has a second record of sample IND0001 at line 7, the first being at line 4" },
		{ map, "  * 0/0 PIRs used\n  * 0/0 samples covered by PIRs\n  * 0 records of samples not in the data skipped\n  * 0 records of samples in duos or trios skipped\n  * 0/0 heterozygotes covered by PIRs\n  * 0/0 graph segments covered by PIRs\n\nWARNING: No sample of the PIR file [reads.pir] matches an unrelated sample of the data: the reads change no graph\n" },
		{ map + others + "IND0020 1\n0 A 20 1 G 20\n", "  * 1/1 PIRs used\n  * 1/31 samples covered by PIRs\n  * 30 records of samples not in the data skipped\n" },
		// Bases of quality 0 are certain to be wrong: these two reads leave no phase possible.
		{ "MAP 2\n1001292 T A\n1002222 G C\nIND0001 2\n0 A 0 1 C 0\n0 A 0 1 G 0\n", "ERROR: PIRs file [reads.pir], record of sample IND0001 at line 4: its reads rule out every phase of two graph segments (Underflow in sequencing" },
	};
	for (const std::pair < std::string, std::string > & c : cases) {
		d.write("reads.pir", c.first);
		RunResult r = runSorvane("-assemble --input-vcf " + E + "/cohort.vcf.gz" + subsetArgs() + "--seed 1 --input-pir reads.pir --output-max out -L log", d.path);
		const std::string log = d.read("log.log");
		const bool fault = has(c.second, "ERROR");
		EXPECT_EQ(r.status, fault) << c.first;
		EXPECT_EQ(count(log, c.second), fault ? 1 : 2) << log;
		EXPECT_EQ(access(d.file("out.haps").c_str(), F_OK) == 0, !fault) << c.first;
		std::remove(d.file("out.haps").c_str());
	}
	RunResult r = runSorvane("-assemble --input-vcf " + E + "/cohort.vcf.gz --output-max out -L log", d.path);
	EXPECT_TRUE(has(r.err, "You must specify a file with the list of BAM files to be used"));
}

namespace {

// Files of a -mutinclude run from the truth: the genotypes of the samples as a VCF, every
// heterozygote written 0/1; a scaffold of their haplotypes without every third site; the
// example reads.
struct MutationFiles {
	std::vector < int > positions;
	std::vector < bool > fresh;

	MutationFiles(const TempDir & d, const Haplotypes & truth, const std::vector < std::string > & ids) {
		for (const auto & s : truth.sites) positions.push_back(s.first);
		std::string vcf = "##fileformat=VCFv4.2\n#CHROM\tPOS\tID\tREF\tALT\tQUAL\tFILTER\tINFO\tFORMAT";
		std::string haps, sample = "ID_1 ID_2 missing\n0 0 0\n";
		for (const std::string & id : ids) {
			vcf += "\t" + id;
			sample += id + " " + id + " 0\n";
		}
		vcf += "\n";
		for (unsigned int l = 0 ; l < positions.size() ; l ++) {
			const int p = positions[l];
			const std::vector < int > & a = truth.alleles.at(p);
			const std::string site = "20 20:" + std::to_string(p) + " " + std::to_string(p) + " " + truth.sites.at(p).first + " " + truth.sites.at(p).second;
			vcf += "20\t" + std::to_string(p) + "\t.\t" + truth.sites.at(p).first + "\t" + truth.sites.at(p).second + "\t.\tPASS\t.\tGT";
			fresh.push_back(l % 3 == 1);
			if (!fresh.back()) haps += site;
			for (const std::string & id : ids) {
				const int t = truth.index(id), g = a[2 * t] + a[2 * t + 1];
				vcf += g == 0 ? "\t0/0" : (g == 1 ? "\t0/1" : "\t1/1");
				if (!fresh.back()) haps += " " + std::to_string(a[2 * t]) + " " + std::to_string(a[2 * t + 1]);
			}
			vcf += "\n";
			if (!fresh.back()) haps += "\n";
		}
		d.write("g.vcf", vcf);
		d.write("scaffold.haps", haps);
		d.write("scaffold.sample", sample);
		d.write("reads.pir", ExampleReads().text);
	}
};

}

// New heterozygotes placed by the example reads: nearly all that reads join to a scaffold
// heterozygote go onto the true haplotype; those of IND0003, which has no reads, stay at -1
// in the VCF's order; scaffold sites do not change; the same output on two threads; a
// sample of the PIR file not in the data, or dropped by --exclude-ind, is passed over; a
// scaffold with swapped alleles is matched as such.
TEST(cli_pir, MutationInclusion) {
	TempDir d;
	const Haplotypes truth(E + "/truth");
	std::vector < std::string > ids = ExampleReads().ids;
	ids.insert(ids.begin() + 2, "IND0003");
	MutationFiles F(d, truth, ids);
	const std::string args = "-mutinclude --input-bam reads.pir --input-haps scaffold --input-vcf g.vcf --output-probs probs.txt --seed 1 ";
	RunResult r = runSorvane(args + "--output-haps out -L log", d.path);
	ASSERT_EQ(r.status, 0) << r.out;
	const std::string log = d.read("log.log");
	EXPECT_TRUE(has(log, "MODE -mutincluder : PHASE MUTATIONS ONTO KNOWN HAPLOTYPES\n"));
	EXPECT_TRUE(has(log, " heterozygous genotypes to be phased\n"));
	EXPECT_TRUE(has(log, " heterozygotes to be phased covered by PIRs\n"));
	EXPECT_EQ(count(log, "\nReading map in [reads.pir]\n"), 2);

	const Haplotypes out(d.file("out"));
	std::vector < std::vector < std::string > > probs = table(d.file("probs.txt"));
	ASSERT_EQ(out.ids, ids);
	ASSERT_EQ(probs.size(), F.positions.size());
	int decided = 0, right = 0, undecided = 0, unread = 0;
	for (unsigned int l = 0 ; l < F.positions.size() ; l ++) {
		const int p = F.positions[l];
		ASSERT_EQ(probs[l].size(), 3 + ids.size());
		EXPECT_EQ(std::stoi(probs[l][2]), p);
		const std::vector < int > & T = truth.alleles.at(p), & O = out.alleles.at(p);
		for (unsigned int i = 0 ; i < ids.size() ; i ++) {
			const int t = truth.index(ids[i]);
			const float status = std::stof(probs[l][3 + i]);
			const bool het = T[2 * t] != T[2 * t + 1];
			if (!F.fresh[l] || !het) {
				EXPECT_EQ(status, F.fresh[l] ? -2.0f : (het ? -3.0f : -4.0f));
				EXPECT_EQ(O[2 * i], T[2 * t]);
				EXPECT_EQ(O[2 * i + 1], T[2 * t + 1]);
			} else if (ids[i] == "IND0003") {
				EXPECT_EQ(status, -1.0f);
				EXPECT_EQ(O[2 * i] * 10 + O[2 * i + 1], 1);
				unread ++;
			} else if (status == -1.0f) undecided ++;
			else {
				EXPECT_TRUE(status >= 0.5f && status <= 1.0f) << status;
				EXPECT_NE(O[2 * i], O[2 * i + 1]);
				decided ++;
				right += O[2 * i] == T[2 * t];
			}
		}
	}
	EXPECT_GT(unread, 3);
	EXPECT_GT(decided, 100);
	EXPECT_GT(right, 0.95 * decided) << right << "/" << decided;

	ASSERT_EQ(runSorvane(args + "--thread 2 --output-haps two -L two", d.path).status, 0);
	EXPECT_EQ(d.read("out.haps"), d.read("two.haps"));

	d.write("reads.pir", d.read("reads.pir") + "NOBODY 1\n0 A 20 1 T 20\n");
	ASSERT_EQ(runSorvane(args + "--output-haps more -L more", d.path).status, 0);
	EXPECT_EQ(d.read("out.haps"), d.read("more.haps"));
	EXPECT_TRUE(has(d.read("more.log"), "  * 30/31 samples covered by PIRs\n  * 1 records of samples not in the data skipped\n")) << d.read("more.log");
	d.write("drop", ids[0] + "\n");
	ASSERT_EQ(runSorvane(args + "--exclude-ind drop --output-haps fewer -L fewer", d.path).status, 0);
	EXPECT_TRUE(has(d.read("fewer.log"), "  * 29/31 samples covered by PIRs\n  * 2 records of samples not in the data skipped\n"));
	// The scaffold with the alleles of its sites swapped, and its codes inverted, says the same.
	std::string swapped;
	for (const std::string & line : testutils::lines(d.read("scaffold.haps"))) {
		std::vector < std::string > w = testutils::words(line);
		std::swap(w[3], w[4]);
		for (unsigned int k = 0 ; k < w.size() ; k ++) swapped += (k ? " " : "") + (k < 5 ? w[k] : w[k] == "0" ? "1" : "0");
		swapped += "\n";
	}
	d.write("scaffold.haps", swapped);
	ASSERT_EQ(runSorvane(args + "--output-haps flip -L flip", d.path).status, 0);
	EXPECT_EQ(d.read("flip.haps"), d.read("more.haps"));
	auto counts = [&](const std::string & log) {
		const std::string text = d.read(log);
		const size_t from = text.find("heterozygous genotypes");
		return text.substr(from, text.find("\nWriting") - from);
	};
	EXPECT_EQ(counts("flip.log"), counts("more.log"));
}

// The checks of the -mutinclude files, each with its own message.
TEST(cli_pir, MutationInclusionChecks) {
	TempDir d;
	d.write("r.pir", "MAP 0\n");
	d.write("s.haps", "");
	d.write("s.sample", "");
	d.write("g.vcf", "");
	expectRows(std::string(SORVANE_BIN) + " -mutinclude -L log", d, {
		refusal("", "You must specify a file with the list of BAM files to be used"),
		refusal("--input-bam none.pir", "none.pir is impossible to open, check file existence or reading permissions"),
		refusal("--input-bam r.pir", "You must specify a scaffold haplotype file with option --input-haps"),
		refusal("--input-bam r.pir --input-haps none", "none.haps is impossible to open, check file existence or reading permissions"),
		refusal("--input-bam r.pir --input-haps s.haps s.sample g.vcf", "Incorrect number of arguments given to --input-haps(it must be 2 files)"),
		refusal("--input-bam r.pir --input-haps s", "You must specify a set of genotypes to be phased with option --input-vcf"),
		refusal("--input-bam r.pir --input-haps s --input-vcf g.vcf", "You must specify an output file for tha phasing probabilities"),
		refusal("--input-bam r.pir --input-haps s --input-vcf g.vcf --output-probs p", "You must specify an output haplotype file with option --output-haps"),
		refusal("--input-bam r.pir --input-haps s --input-vcf g.vcf --output-probs p --output-haps a b c", "Incorrect number of arguments given to --output-sample"),
	});
}
