#include "cli/example_subset.h"

#include <algorithm>

using namespace testutils;

using exsubset::E;
using exsubset::LAST_BP;

// Bad GEN lines stop the reader before any output; triples of zeros are missing genotypes.
TEST(cli_call, Checks) {
	TempDir d;
	d.write("s.haps", "x");
	const std::string likelihoods = "Genotype likelihoods have to be specified via --input-gen (use glforge program!)", io = " --input-gen in --output-max out ";
	std::string sample = "ID_1 ID_2 missing\n0 0 0\n";
	for (int i = 1 ; i <= 10 ; i ++) sample += "IND000" + std::to_string(i - 1) + " IND000" + std::to_string(i - 1) + " 0\n";
	d.write("in.sample", sample);
	d.write("in.gen", "x");
	expectRows(std::string(SORVANE_BIN) + " -call -L log", d, {
		refusal("--input-vcf none.vcf --output-max out", likelihoods),
		refusal(io + "--input-scaffold s.haps", "Incorrect number of arguments given to --input-phased-scaffold (it must be a multiple of 2)"),
		refusal(io + "--input-scaffold s.haps none.sample", "none.sample is impossible to open, check file existence or reading permissions"),
		refusal(io + "--no-mcmc", "To get rid of the MCMC scheme, you must specify a reference panel of haplotypes via --input-ref"),
		refusal(io + "--duohmm", "The --duohmm option is not available with -call: this mode phases duos and trios together, and the pedigree refinement needs every sample phased alone"),
	});
	// 20 sites of 10 samples with clear calls, but for sample `ind` at sites `first` to `last`.
	auto write = [&](int ind, int first, int last, const std::string & triple) {
		std::string gen;
		for (int s = 1 ; s <= 20 ; s ++) {
			gen += "1 rs" + std::to_string(s) + " " + std::to_string(100 * s) + " A C";
			for (int i = 1 ; i <= 10 ; i ++) gen += " " + (i == ind && s >= first && s <= last ? triple : (i + s) % 3 ? "0.02 0.96 0.02" : "0.96 0.02 0.02");
			gen += "\n";
		}
		d.write("in.gen", gen);
	};
	const std::string bad = "Line 2 of [in.gen]: the genotype probability ", of = "] of sample IND0000 is not a number from 0\n";
	struct Case { std::string triple, force, message; int status; };
	const std::vector < Case > cases = {
		{ "0 0 0", "", "1 individuals with high rates of missing data (>10%). These individuals should be removed. You can disable this error with --force (at your own risk).\n", 1 },
		{ "-0.1 0.6 0.5", "--force", bad + "[-0.1" + of, 1 },
		{ "abc 1 0", "--force", bad + "[abc" + of, 1 },
		{ "0.5abc 0.5 0", "--force", bad + "[0.5abc" + of, 1 },
		{ "0.5 nan 0", "--force", bad + "[nan" + of, 1 },
		{ "0.5 0.5", "--force", "Line=2 found=34 fields, expected=35 or 36\n", 1 },
		{ "0 0 0", "--force", "  * 1 individuals with high rates of missing data (>5%)\n", 0 },
	};
	for (const Case & c : cases) {
		write(1, 2, 4, c.triple);
		RunResult r = runSorvane("-call --input-gen in " + c.force + " --burn 1 --prune 1 --main 1 --states 5 --seed 1 --output-max out -L log", d.path);
		EXPECT_TRUE(r.status == c.status && has(r.out + r.err, c.message) && exists(d.file("out.haps")) == (c.status == 0)) << c.triple << " " << c.force << "\n" << r.out;
	}
	EXPECT_TRUE(has(d.read("log.ind.mm"), "IND0000\t3\n")) << d.read("log.ind.mm");
	std::vector < std::string > called = lines(d.read("out.haps"));
	ASSERT_EQ(called.size(), 20u);
	for (const std::string & l : called) EXPECT_EQ(words(l).size(), 25u);
}

// Scaffolded samples come out as given, the others are called; a seed repeats the run.
TEST(cli_call, ScaffoldAndRepeatability) {
	TempDir d;
	// The example's 2x likelihoods up to LAST_BP, its first 100 samples as "list".
	runOk("zcat " + E + "/lowcov_2x.gen.gz | awk '$3 <= " + std::to_string(LAST_BP) + "' > low.gen && cp " + E + "/lowcov_2x.sample low.sample"
		" && awk 'NR > 2 && NR <= 102 { print $2 }' low.sample > list", d.path);
	const std::vector < std::vector < std::string > > samples = exsubset::table(d.file("low.sample"));
	std::vector < int > fixed;
	for (int i = 0 ; i < 100 && fixed.size() < 25 ; i ++) {
		bool related = samples[2 + i][3] != "0" || samples[2 + i][4] != "0";
		for (unsigned int j = 2 ; j < samples.size() ; j ++) related = related || samples[j][3] == samples[2 + i][1] || samples[j][4] == samples[2 + i][1];
		if (!related) fixed.push_back(i);
	}
	ASSERT_EQ(fixed.size(), 25u);
	auto index = [&](const std::string & id) { for (int j = 0 ; j < 100 ; j ++) if (samples[2 + j][1] == id) return j; return -1; };
	for (int i = 0 ; i < 100 ; i ++) {
		const int f = index(samples[2 + i][3]), m = index(samples[2 + i][4]);
		if (f >= 0 || m >= 0) for (int x : { i, f, m }) if (x >= 0 && std::find(fixed.begin(), fixed.end(), x) == fixed.end()) fixed.push_back(x);
	}
	ASSERT_GT(fixed.size(), 30u);
	const std::vector < std::vector < int > > parts = { { fixed.begin(), fixed.begin() + 12 }, { fixed.begin() + 12, fixed.end() } };
	std::vector < std::string > rows = lines(readCompressed(E + "/truth.haps"));
	for (int part = 0 ; part < 2 ; part ++) {
		std::string haps, sample = "ID_1 ID_2 missing\n0 0 0\n";
		for (int i : parts[part]) sample += samples[2 + i][0] + " " + samples[2 + i][1] + " 0\n";
		for (const std::string & row : rows) {
			std::vector < std::string > t = words(row);
			if (std::stoi(t[2]) > LAST_BP) break;
			haps += t[0] + " " + t[1] + " " + t[2] + " " + t[3] + " " + t[4];
			for (int i : parts[part]) haps += " " + t[5 + 2 * i] + " " + t[6 + 2 * i];
			haps += "\n";
		}
		d.write("scaffold" + std::to_string(part) + ".haps", haps);
		d.write("scaffold" + std::to_string(part) + ".sample", sample);
	}
	const std::string args = "-call --input-gen low --include-ind list --force --seed 9 --thread 1 --input-scaffold scaffold0.haps scaffold0.sample scaffold1.haps scaffold1.sample";
	for (const std::string run : { "a", "b" }) ASSERT_TRUE(succeeded(runSorvane(args + " --output-max " + run + " -L " + run, d.path)));
	EXPECT_TRUE(hasAll(d.read("a.log"), { "  * Scaffold of haplotypes used\n", "  * 12 samples with a scaffold out of 100\n", "  * " + std::to_string(fixed.size() - 12) + " samples with a scaffold out of 100\n" }));
	EXPECT_EQ(d.read("a.haps"), d.read("b.haps"));
	const std::map < int, std::vector < int > > truth = exsubset::Haplotypes(E + "/truth").alleles, out = exsubset::Haplotypes(d.file("a")).alleles;
	ASSERT_FALSE(out.empty());
	long wrong = 0, n = 0;
	for (const auto & s : out) for (int i = 0 ; i < 100 ; i ++) {
		const std::vector < int > & T = truth.at(s.first);
		if (std::find(fixed.begin(), fixed.end(), i) != fixed.end()) {
			ASSERT_TRUE(s.second[2 * i] == T[2 * i] && s.second[2 * i + 1] == T[2 * i + 1]) << "sample " << i << " at " << s.first;
			continue;
		}
		n ++;
		wrong += s.second[2 * i] + s.second[2 * i + 1] != T[2 * i] + T[2 * i + 1];
	}
	EXPECT_LT((double)wrong / n, 0.09) << n << " genotypes";
}
