#include "test_utils.h"

using testutils::RunResult;
using testutils::TempDir;
using testutils::runSorvane;
using testutils::has;

TEST(cli_frame, NoArgumentHelpVersionSourceAndParseErrors) {
	TempDir d;
	RunResult r = runSorvane("", d.path);
	EXPECT_EQ(r.status, 1);
	EXPECT_EQ(r.out, "");
	EXPECT_EQ(r.err, "");

	// An unknown option, a missing value or a bad number: the parser's message and exit 1.
	const std::pair < std::string, std::string > bad[] = {
		{ "--bogus-option 3", "Phaser mode : unrecognised option '--bogus-option'" },
		{ "--input-vcf in.vcf --seed", "Phaser mode : the required argument for option '--seed' is missing" },
		{ "-check --thread notanumber", "Summarizer mode : the argument ('notanumber') for option '--thread' is invalid" },
	};
	for (const auto & b : bad) {
		r = runSorvane(b.first, d.path);
		EXPECT_EQ(r.status, 1) << b.first;
		EXPECT_TRUE(has(r.out, b.second)) << r.out;
	}

	r = runSorvane("-check --help", d.path);
	EXPECT_EQ(r.status, 0);
	EXPECT_TRUE(has(r.out, "ampled \033[33mOR\033[0mdered")) << r.out;
	EXPECT_TRUE(has(r.out, "  * Version : v2.r904\n")) << r.out;
	EXPECT_TRUE(has(r.out, "Basic options")) << r.out;
	EXPECT_TRUE(has(r.out, "Input data are from chromosome X")) << r.out;
	EXPECT_FALSE(has(r.out, "Number of burn-in MCMC iterations.")) << r.out;

	r = runSorvane("-phase --help", d.path);
	EXPECT_EQ(r.status, 0);
	for (std::string opt : { "--burn", "--prune", "--main", "--run", "--no-mcmc", "--input-ped", "--missing-code", "--input-bed",
			"--noped", "--duohmm", "--input-gen", "--input-thr", "--input-vcf", "--input-map", "--input-ref", "--input-init",
			"--input-sex", "--missing-maf", "--chrX", "--force", "--states", "--states-random", "--states-pmatch", "--states-cov",
			"--window", "--model-version1", "--effective-size", "--rho", "--input-copy-states", "--output-max", "--output-graph",
			"--seed", "--thread", "--output-log", "--exclude-snp", "--include-grp", "--input-from", "--output-to" })
		EXPECT_TRUE(has(r.out, opt)) << opt;

	r = runSorvane("--version", d.path);
	EXPECT_EQ(r.status, 0);
	EXPECT_TRUE(has(r.out, "v2.r904"));

	r = runSorvane("--source", d.path);
	EXPECT_EQ(r.status, 0);
	EXPECT_EQ(r.err, "\nFiles:\n904\n");

	r = runSorvane("--licence", d.path);
	EXPECT_EQ(r.status, 0);
}

TEST(cli_frame, LogFileNamesAndContent) {
	TempDir d;
	d.write("in.vcf", "x");
	RunResult r = runSorvane("--input-vcf in.vcf --output-max out --output-log x --seed 5", d.path);
	EXPECT_EQ(r.status, 1);
	std::string log = d.read("x.log");
	EXPECT_TRUE(has(log, "Mode    : Phaser\nOptions : --input-vcf in.vcf --output-max out --output-log x --seed 5\n")) << log;
	EXPECT_TRUE(has(log, "Version : v2.r904\nDate    : ")) << log;
	EXPECT_TRUE(has(log, "\nMODE -phase : PHASING GENOTYPE DATA\n  * Autosome (chr1 ... chr22)\n  * Window-based model (SORVANE v2)\n  * MCMC iteration\n")) << log;
	EXPECT_TRUE(has(log, "\nParameters :\n  * Seed : 5\n  * Parallelisation: 1 threads\n  * Ref allele is NOT aligned on the reference genome\n"
		"  * MCMC: 35 iterations [7 B + 1 runs of 8 P + 20 M]\n  * Model: 100 states per window [100 H + 0 PM + 0 R + 0 COV ] / Windows of ~2.0 Mb / rho = 0.00040\n")) << log;
	EXPECT_TRUE(has(r.out, "  * LOGfile : [x.log]")) << r.out;
	EXPECT_TRUE(has(r.out, "MODE \033[33m-phase\033[0m : PHASING GENOTYPE DATA")) << r.out;
	// Screen-only lines stay off the log, and colours stay off the log.
	EXPECT_FALSE(has(log, "LOGfile")) << log;
	EXPECT_FALSE(has(log, "\033[")) << log;

	// A run without --output-log names its log from the date and a random identifier.
	r = runSorvane("--input-vcf in.vcf --output-max out", d.path);
	std::string cmd = "ls " + d.path + " | grep -c '^sorvane_[0-9]\\{8\\}_[0-9][0-9]h[0-9][0-9]m[0-9][0-9]s_.\\{36\\}\\.log$' > " + d.file("count");
	ASSERT_EQ(system(cmd.c_str()), 0);
	EXPECT_EQ(d.read("count"), "1\n");

	r = runSorvane("--input-vcf in.vcf --output-max out --output-log nodir/x", d.path);
	EXPECT_EQ(r.status, 1);
	EXPECT_TRUE(has(r.err, "Impossible to open log file[nodir/x] check writing permissions!")) << r.err;
}

TEST(cli_frame, CommonOptionChecks) {
	TempDir d;
	d.write("in.vcf", "x");
	const std::string base = "--input-vcf in.vcf --output-max out -L log ";
	struct Case { std::string args; bool refused; std::string message; };
	const std::string window_in = "The input window coordinates are incorrect (must have --input-from >= 0 & --input-to > 0 & --input-from < input-to\n";
	const std::string window_out = "The output window coordinates are incorrect (must have --output-from >= 0 & --output-to > 0 & --output-from < output-to\n";
	const Case cases[] = {
		{ "--seed -1", true, "Random number generator needs a positive seed value" },
		{ "--seed 0", false, "positive seed" },
		{ "--thread 0", true, "You must use at least 1 thread" },
		{ "--input-from 5 --input-to 5", true, window_in },
		{ "--input-from 0 --input-to 1", false, "window coordinates" },
		{ "--input-from 100000001 --input-to 100000002", true, window_in },
		{ "--input-from -1", true, window_in },
		{ "--input-to 1e5 --input-from 2e5", true, window_in },
		{ "--output-from 10 --output-to 2", true, window_out },
		{ "--exclude-snp nothere", true, "[nothere] is impossible to open, check file existence or reading permissions" },
		{ "--include-grp nothere", true, "[nothere] is impossible to open, check file existence or reading permissions" },
	};
	for (const Case & c : cases) {
		RunResult r = runSorvane(base + c.args, d.path);
		EXPECT_EQ(r.status, 1) << c.args;
		if (c.refused) {
			EXPECT_TRUE(has(r.out, "\033[33mERROR:\033[0m " + c.message)) << c.args << "\n" << r.out;
			EXPECT_TRUE(has(d.read("log.log"), "ERROR: " + c.message)) << c.args;
		} else {
			EXPECT_FALSE(has(r.out, c.message)) << c.args << "\n" << r.out;
		}
	}
	RunResult r = runSorvane(base + "--thread 51", d.path);
	EXPECT_TRUE(has(r.out, "\n\033[33mWARNING:\033[0m High number of thread, check parameters\n")) << r.out;
	EXPECT_TRUE(has(r.out, "  * Parallelisation: 51 threads")) << r.out;

	r = runSorvane(base + "--input-from 1000 --input-to 2e6 --aligned", d.path);
	std::string log = d.read("log.log");
	EXPECT_TRUE(has(log, "  * Input  window: [1000 -> 2000000]\n")) << log;
	EXPECT_TRUE(has(log, "  * Ref allele is aligned on the reference genome\n")) << log;
}
