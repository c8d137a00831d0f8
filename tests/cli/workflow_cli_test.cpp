#include "cli/example_subset.h"
#include "test_utils.h"

#include <fstream>
#include <map>

using testutils::RunResult;
using testutils::has;
using testutils::TempDir;
using testutils::lines;
using testutils::readCompressed;
using testutils::runSorvane;
using testutils::words;

namespace {

const std::string E = SORVANE_EXAMPLE_DATA;

// Per sample, per position, its two alleles.
typedef std::map < std::string, std::map < int, std::pair < int, int > > > Phased;

Phased readVcf(const std::string & file) {
	Phased P;
	std::vector < std::string > ids;
	for (const std::string & l : lines(readCompressed(file))) {
		if (l.compare(0, 2, "##") == 0) continue;
		std::vector < std::string > t = words(l);
		if (t[0] == "#CHROM") {
			ids.assign(t.begin() + 9, t.end());
			continue;
		}
		for (unsigned int i = 0 ; i < ids.size() ; i ++) P[ids[i]][std::stoi(t[1])] = { t[9 + i][0] - '0', t[9 + i][2] - '0' };
	}
	return P;
}

Phased readHaps(const std::string & stem) {
	Phased P;
	std::vector < std::string > S = lines(readCompressed(stem + ".sample"));
	for (const std::string & l : lines(readCompressed(stem + ".haps"))) {
		std::vector < std::string > t = words(l);
		for (unsigned int i = 2 ; i < S.size() ; i ++) P[words(S[i])[1]][std::stoi(t[2])] = { std::stoi(t[5 + 2 * (i - 2)]), std::stoi(t[6 + 2 * (i - 2)]) };
	}
	return P;
}

// Switch error over the sites heterozygous in both the truth and the estimate.
double switchError(const Phased & out, const Phased & truth) {
	long switches = 0, pairs = 0;
	for (const auto & sample : out) {
		int previous = -1;
		for (const auto & site : sample.second) {
			const std::pair < int, int > & t = truth.at(sample.first).at(site.first), & o = site.second;
			if (t.first == t.second || o.first == o.second) continue;
			const int relation = t.first == o.first;
			if (previous >= 0) {
				pairs ++;
				switches += relation != previous;
			}
			previous = relation;
		}
	}
	return (double)switches / pairs;
}

}

// The workflow on the example cohort cut into two overlapping chunks, the binary given on
// the command line only: the ligated, indexed result keeps every genotype, and its switch
// error stays within half a point of the unchunked run with the same options. Alone, with
// the example's configuration, a failing chunk shows its error in Snakemake's report.
TEST(cli_workflow, ChunkedExampleLigates) {
	TempDir d;
	const std::string options = "--burn 3 --prune 4 --main 8";
	d.write("config.yaml", "output: results\nchromosomes:\n  \"20\":\n    vcf: " + E + "/cohort.vcf.gz\n    map: " + E + "/genetic_map.txt\n"
		"chunk_size: 170000\noverlap: 40000\nthreads: 2\nseed: 1\nextra: \"" + options + "\"\n");
	const std::string snakemake = "ln -s " + E + " example && snakemake -s " + E + "/../workflow/Snakefile --cores 2 --config sorvane=" + SORVANE_BIN;
	RunResult r = testutils::runCommand(snakemake + " 'extra=--states 3'", d.path);
	EXPECT_NE(r.status, 0);
	EXPECT_TRUE(has(r.err, "ERROR: You must use at least 5 conditioning haplotypes for phasing")) << r.err;
	r = testutils::runCommand("rm example && " + snakemake + " --configfile config.yaml", d.path);
	ASSERT_EQ(r.status, 0) << r.out << r.err;
	EXPECT_EQ(lines(d.read("results/20/chunk1.log")).empty(), false);
	EXPECT_FALSE(std::ifstream(d.file("results/20/chunk2.vcf.gz")).good());
	EXPECT_TRUE(std::ifstream(d.file("results/20.vcf.gz.tbi")).good());

	r = runSorvane("--input-vcf " + E + "/cohort.vcf.gz --input-map " + E + "/genetic_map.txt --thread 2 --seed 1 " + options + " --output-vcf whole.vcf.gz -L whole", d.path);
	ASSERT_EQ(r.status, 0) << r.out;
	const Phased chunked = readVcf(d.file("results/20.vcf.gz")), whole = readVcf(d.file("whole.vcf.gz")), truth = readHaps(E + "/truth");
	const std::map < std::string, std::map < int, int > > G = exsubset::vcfGenotypes();
	ASSERT_EQ(chunked.size(), 200u);
	for (const auto & sample : chunked) {
		ASSERT_EQ(sample.second.size(), whole.at(sample.first).size());
		for (const auto & site : sample.second) {
			const int g = G.at(sample.first).at(site.first);
			if (g < 0) continue;
			ASSERT_EQ(site.second.first + site.second.second, g) << sample.first << " at " << site.first;
		}
	}
	const double split = switchError(chunked, truth), single = switchError(whole, truth);
	EXPECT_LT(single, 0.03);
	EXPECT_LT(split, single + 0.005) << "chunked " << split << " unchunked " << single;
}
