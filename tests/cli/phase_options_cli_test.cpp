#include "cli/example_subset.h"
#include "test_utils.h"

#include <sys/stat.h>

using namespace testutils;

// Each case either stops with its message, or passes every option and file check: the
// runs that pass stop later, past the checks, on the dummy input.
static Row passes(const std::string & args, const std::string & message) {
	return Row { args, 1, "Parameters :", message };
}
static const std::string sorvane = std::string(SORVANE_BIN) + " -L log";

TEST(cli_phase_options, ValueChecks) {
	TempDir d;
	d.write("in.vcf", "x");
	d.write("ref.hap", "x");
	d.write("ref.legend", "x");
	d.write("ref.sample", "x");
	const std::string io = "--input-vcf in.vcf --output-max out ";
	const std::string ref = "--input-ref ref.hap ref.legend ref.sample ";
	const std::string window_in = "The input window coordinates are incorrect (must have --input-from >= 0 & --input-to > 0 & --input-from < input-to";
	expectRows(sorvane, d, {
		refusal(io + "--seed -1", "Random number generator needs a positive seed value"),
		passes(io + "--seed 0", "positive seed"),
		refusal(io + "--thread 0", "You must use at least 1 thread"),
		refusal(io + "--input-from 5 --input-to 5", window_in),
		passes(io + "--input-from 0 --input-to 1", "window coordinates"),
		refusal(io + "--input-from 100000001 --input-to 100000002", window_in),
		refusal(io + "--input-from -1", window_in),
		refusal(io + "--output-from 10 --output-to 2", "The output window coordinates are incorrect (must have --output-from >= 0 & --output-to > 0 & --output-from < output-to"),
		refusal(io + "--exclude-snp nothere", "[nothere] is impossible to open, check file existence or reading permissions"),
		refusal(io + "--noped --duohmm", "The --noped and --duohmm options are incompatible with one another."),
		refusal(io + "--chrX --duohmm", "The --chrX and --duohmm options are incompatible with one another."),
		refusal(io + "--output-duohmm-errors e.txt", "The --output-duohmm-errors option needs --duohmm and --output-max or --output-vcf"),
		refusal("--input-vcf in.vcf --output-graph g --duohmm --output-duohmm-recombination r.txt", "The --output-duohmm-recombination option needs --duohmm and --output-max or --output-vcf"),
		passes(io + "--duohmm --output-duohmm-errors e.txt --output-duohmm-recombination r.txt", "needs --duohmm"),
		refusal(io + "--burn -1", "You must use at least 0 burn-in iteration"),
		passes(io + "--burn 0", "burn-in iteration"),
		refusal(io + "--prune 0", "You must use at least 1 pruning iteration"),
		refusal(io + "--main 0", "You must use at least 1 main iteration"),
		refusal(io + "--run 0", "You must use at least 1 run of pruning iterations"),
		refusal(io + "--states 9 --model-version1", "You must use at least 10 conditioning states for phasing"),
		passes(io + "--states 10 --model-version1", "conditioning states"),
		refusal(io + "--states 4", "You must use at least 5 conditioning haplotypes for phasing"),
		passes(io + "--states 3 --states-random 2", "conditioning haplotypes"),
		passes(io + "--states-random 1", "conditioning haplotypes"),
		refusal(io + "--window 0.09", "You must specify a window size of at least 0.1 Mb"),
		passes(io + "--window 0.1", "window size"),
		refusal(io + "--effective-size 0", "You must specify a positive effective size"),
		refusal(io + "--rho 0", "You must specify a rho value comprised between 0 and 1"),
		passes(io + "--rho 0.5", "rho value"),
		refusal(io + "--input-thr 0.5", "You must specify a --input-thr value comprised between 0.5 and 1"),
		passes(io + "--input-thr 1", "--input-thr value"),
		refusal(io + "--burn 100001", "You must specify a --burn value comprised between 0 and 100000"),
		refusal(io + "--main 2147483647", "You must specify a --main value comprised between 1 and 100000"),
		passes(io + "--burn 100000 --prune 100000 --run 1000 --main 100000", "value comprised"),
		refusal(io + "--states 2147483647", "You must specify a --states value comprised between 0 and 1000000"),
		refusal(io + "--states-cov 2147483647", "You must specify a --states-cov value comprised between 0 and 1000000"),
		passes(io + "--states 1000000 --states-random 1000000", "value comprised"),
		refusal(io + "--window 1000.5", "You must specify a --window value comprised between 0.1 and 1000 (Mb)"),
		refusal(io + "--window nan", "You must specify a --window value comprised between 0.1 and 1000 (Mb)"),
		passes(io + "--window 1000", "value comprised"),
		refusal(io + "--effective-size 100000001", "You must specify a --effective-size value comprised between 1 and 100000000"),
		refusal(io + "--rho nan", "You must specify a rho value comprised between 0 and 1"),
		refusal(io + "--input-thr nan", "You must specify a --input-thr value comprised between 0.5 and 1"),
		refusal(io + "--selection nearest", "You must specify --selection auto, hamming or pbwt"),
		refusal(io + "--selection pbwt --model-version1", "The --selection pbwt option applies to the window model only, not to --model-version1 or --input-copy-states"),
		passes(io + "--selection pbwt", "--selection"),
		refusal(io + "--no-mcmc", "To get rid of the MCMC scheme, you must specify a reference panel of haplotypes via --input-ref"),
		passes(io + ref + "--no-mcmc", "MCMC scheme"),
	});

	// The settings in the log.
	runSorvane(io + ref + "--no-mcmc --model-version1 --states 12 --input-copy-states in.vcf --chrX --noped --missing-maf --window 1.25 -L log", d.path);
	EXPECT_TRUE(hasAll(d.read("log.log"), { "\nMODE -phase : PHASING GENOTYPE DATA\n  * Allosome (chrX)\n  * Graph-based model (SORVANE v1)\n  * Reference panel of haplotypes used\n  * No MCMC iteration\n",
		"  * No MCMC\n  * Model: 12 states per segment / rho = 0.00040\n  * Pedigree information not taken into account\n  * Missing genotypes initialised according to MAF\n  * Rare variants placed from the matches around them\n" }));
	d.write("map.txt", "x");
	runSorvane(io + "--input-copy-states in.vcf --states 3 --states-pmatch 1 --states-random 2 --states-cov 4 --window 1.25 --burn 2 --prune 3 --run 2 --main 4 --duohmm --input-map map.txt --effective-size 1000 -L log", d.path);
	EXPECT_TRUE(hasAll(d.read("log.log"), { "  * Window-based model with user specification of the copying states (SORVANE v2)\n  * MCMC iteration\n  * duoHMM is used to refine family haplotypes\n",
		"  * MCMC: 12 iterations [2 B + 2 runs of 3 P + 4 M]\n  * Model: 10 states per window [3 H + 1 PM + 2 R + 4 COV ] / Windows of ~1.2 Mb / Ne = 1000\n" }));
}

TEST(cli_phase_options, FileChecks) {
	TempDir d;
	for (std::string f : { "in.vcf", "g.gen", "g.sample", "p.ped", "p.map", "b.bed", "b.bim", "b.fam", "i.haps", "i.sample", "r1", "r2", "r3" }) d.write(f, "x");
	ASSERT_EQ(mkdir(d.file("adir").c_str(), 0755), 0);
	const std::string out = " --output-max out";
	const std::string no_input = "You must specify at least one unphased input file with --input-bed, --input-ped, --input-gen or --input-vcf";
	const std::string two_inputs = "You must specify no more than one unphased input file with --input-bed, --input-ped, --input-gen or --input-vcf";
	const std::string cannot_open = " is impossible to open, check file existence or reading permissions";
	expectRows(sorvane, d, {
		refusal("--seed 1" + out, no_input),
		refusal("--input-vcf in.vcf --input-gen g" + out, two_inputs),
		refusal("--input-vcf in.vcf", "You must specify at least one output file with --output-max, --output-vcf and/or --output-graph"),
		refusal("--input-bed b b.bim" + out, "Incorrect number of arguments given to --input-bed (it must be 3 files)"),
		passes("--input-bed b.bed b.bim b.fam" + out, "Incorrect number"),
		refusal("--input-bed x" + out, "x.bed" + cannot_open),
		refusal("--input-bed b.bed b.bim nothere.fam" + out, "nothere.fam" + cannot_open),
		refusal("--input-ped p p.map p.ped" + out, "Incorrect number of arguments given to --input-ped (it must be 2 files)"),
		passes("--input-ped p" + out, "Incorrect number"),
		refusal("--input-gen g.gen g.sample g.x" + out, "Incorrect number of arguments given to --input-gen (it must be 2 files)"),
		refusal("--input-gen i" + out, "i.gen" + cannot_open),
		refusal("--input-vcf nothere.vcf" + out, "nothere.vcf" + cannot_open),
		refusal("--input-vcf in.vcf --input-map nomap" + out, "nomap" + cannot_open),
		refusal("--input-vcf adir" + out, "adir" + cannot_open),
		refusal("--input-vcf in.vcf --output-max adir o.sample", "adir is impossible to create, check writing permissions"),
		refusal("--input-vcf in.vcf --input-sex nosex" + out, "nosex" + cannot_open),
		refusal("--input-vcf in.vcf --input-ref r1 r2" + out, "Incorrect number of arguments given to --input-ref (it must be 3 files)"),
		refusal("--input-vcf in.vcf --input-ref r1 r2 r4" + out, "r4" + cannot_open),
		refusal("--input-vcf in.vcf --input-init i i.haps i.sample" + out, "Incorrect number of arguments given to --input-init (it must be 2 files)"),
		refusal("--input-vcf in.vcf --input-init g" + out, "g.haps" + cannot_open),
		passes("--input-vcf in.vcf --input-init i" + out, "Incorrect number"),
		refusal("--input-vcf in.vcf --output-max a b c", "Incorrect number of arguments given to --output-max"),
		refusal("--input-vcf in.vcf --output-max nodir/o", "nodir/o.haps is impossible to create, check writing permissions"),
		refusal("--input-vcf in.vcf --output-max o.haps nodir/o.sample", "nodir/o.sample is impossible to create, check writing permissions"),
		refusal("--input-vcf in.vcf --input-copy-states nocopy" + out, "nocopy" + cannot_open),
		refusal("--input-vcf in.vcf --output-graph nodir/g.bin", "nodir/g.bin is impossible to create, check writing permissions"),
	});

	// The checks try the outputs before any data is read, and a run stopped later leaves
	// neither the outputs nor their temporary files.
	TempDir e;
	e.write("in.vcf", "x");
	RunResult r = runSorvane("--input-vcf in.vcf --output-max made --output-graph made.graph -L log", e.path);
	EXPECT_TRUE(r.status == 1 && has(r.out, "Reading unphased data in [in.vcf]")) << r.out;
	EXPECT_EQ(runSorvane("--input-vcf in.vcf --output-max two.haps two.sample -L log", e.path).status, 1);
	EXPECT_EQ(e.files(), (std::set < std::string > { "in.vcf", "log.log" }));
}

TEST(cli_phase_options, SampleCountWithoutPanel) {
	TempDir d;
	const std::string stop = "You cannot phase less than 10 samples wihout using a reference panel!";
	d.write("nine", "IND0001\nIND0002\nIND0003\nIND0004\nIND0005\nIND0006\nIND0007\nIND0008\nIND0009\n");
	d.write("ten", d.read("nine") + "IND0010\n");
	const std::string vcf = "--input-vcf " + exsubset::E + "/cohort.vcf.gz --output-max out -L log --force --burn 1 --prune 1 --main 1 ";
	EXPECT_TRUE(refused(runSorvane(vcf + "--include-ind nine", d.path), stop));
	EXPECT_TRUE(succeeded(runSorvane(vcf + "--include-ind ten", d.path)));
	// One graph per unrelated sample.
	EXPECT_TRUE(hasAll(d.read("log.log"), { "  * 10 samples included\n", "  * 10 graphs / ", "  * 0 haploids / 10 unrelateds / 0 duos / 0 trios\n" }));
	EXPECT_TRUE(succeeded(runSorvane(vcf + "--include-ind nine" + exsubset::PANEL, d.path)));
	EXPECT_TRUE(has(d.read("log.log"), "  * 200 reference haplotypes included\n"));
}
