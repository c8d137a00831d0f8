#include "modes/sorvane.h"
#include "test_utils.h"

#include <regex.h>

using namespace testutils;

namespace {

// The default logs in a folder, named from the date and a random identifier.
int defaultLogs(const TempDir & d) {
	regex_t name;
	regcomp(&name, "^sorvane_[0-9]{8}_[0-9]{2}h[0-9]{2}m[0-9]{2}s_.{36}\\.log$", REG_EXTENDED | REG_NOSUB);
	int n = 0;
	for (const std::string & f : d.files()) n += regexec(&name, f.c_str(), 0, nullptr, 0) == 0;
	regfree(&name);
	return n;
}

}

TEST(cli_frame, UsageHelpVersionAndParseErrors) {
	TempDir d;
	RunResult r = runSorvane("", d.path);
	EXPECT_TRUE(r.status == 1 && r.out == "" && r.err == sorvane::usage()) << r.out << r.err;
	r = runSorvane("--help", d.path);
	EXPECT_TRUE(r.status == 0 && r.out == sorvane::usage());
	r = runSorvane("-phase --help", d.path);
	EXPECT_TRUE(r.status == 0 && r.out.find('\033') == std::string::npos && hasAll(r.out, { "--input-thr arg (=0.9) ", "--rho arg (=0.0004) ", "--window ] arg (=2) " })) << r.out;
	r = runSorvane("--version", d.path);
	EXPECT_TRUE(r.status == 0 && r.out == sorvane::version() + "\n" && r.out.compare(0, 15, "sorvane 2.0.904") == 0) << r.out;
	for (const auto & b : std::vector < std::pair < std::string, std::string > > { { "--bogus-option 3", "Phaser mode : unrecognised option '--bogus-option'\nThe options of this mode: sorvane -phase --help\n" },
			{ "-check --thread notanumber", "Summarizer mode : the argument ('notanumber') for option '--thread' is invalid" } }) {
		r = runSorvane(b.first, d.path);
		EXPECT_TRUE(r.status == 1 && has(r.err, b.second)) << b.first << "\n" << r.err;
	}
	// A run refused before its work leaves no default log; one that reached it does.
	d.write("in.vcf", "x");
	r = runCommand(std::string(SORVANE_BIN) + " --input-vcf in.vcf --output-max out --output-log x --seed 5 > /dev/null 2> err.txt; cat err.txt", d.path);
	EXPECT_TRUE(has(r.out, "\nERROR: ")) << r.out;
	std::string log = d.read("x.log");
	EXPECT_TRUE(hasAll(log, { "Options : --input-vcf in.vcf --output-max out --output-log x --seed 5\n", "\nERROR: ", "  * MCMC: 23 iterations [3 B + 1 runs of 4 P + 16 M]\n" }));
	// The thread count warns from 51 on; screen-only lines and colours stay off the log.
	r = runSorvane("--input-vcf in.vcf --output-max out -L x --thread 51 --input-from 1000 --input-to 2e6 --aligned", d.path);
	EXPECT_TRUE(has(r.out, "  * LOGfile : [x.log]\n\nMODE -phase : PHASING GENOTYPE DATA\n")) << r.out;
	EXPECT_TRUE(has(r.err, "\nWARNING: High number of thread, check parameters\n")) << r.err;
	log = d.read("x.log");
	EXPECT_TRUE(has(log, "  * Input  window: [1000 -> 2000000]\n  * Parallelisation: 51 threads\n  * Ref allele is aligned on the reference genome\n") && !has(log, "LOGfile")) << log;
	EXPECT_EQ(log.find_first_of("\033\r"), std::string::npos);

	EXPECT_TRUE(refused(runSorvane("--input-vcf none.vcf --output-max out", d.path), "none.vcf is impossible to open"));
	EXPECT_TRUE(refused(runSorvane("--input-vcf in.vcf --output-max out --seed -1", d.path), "Random number generator needs a positive seed value"));
	EXPECT_EQ(defaultLogs(d), 0);
	runSorvane("--input-vcf in.vcf --output-max out", d.path);
	EXPECT_EQ(defaultLogs(d), 1);

	r = runSorvane("--input-vcf in.vcf --output-max out --output-log nodir/x", d.path);
	EXPECT_TRUE(r.status == 1 && has(r.err, "Impossible to open log file[nodir/x] check writing permissions!")) << r.err;
	log = d.read("x.log");
	EXPECT_TRUE(refused(runSorvane("--input-vcf x.log --output-max out -L x", d.path), "The output file [x.log] of --output-log is an input file of --input-vcf"));
	EXPECT_EQ(d.read("x.log"), log);
}
