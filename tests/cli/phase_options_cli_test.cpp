#include "cli/example_subset.h"

#include <sys/stat.h>

using namespace testutils;

// A run that passes every option and file check stops later, on the dummy input.
static Row passes(const std::string & args, const std::string & message) {
	return Row { args, 1, "Parameters :", message };
}
static const std::string sorvane = std::string(SORVANE_BIN) + " -L log";

TEST(cli_phase_options, ValueChecks) {
	TempDir d;
	for (std::string f : { "in.vcf", "ref.hap", "ref.legend", "ref.sample", "b.bed", "b.bim", "b.fam", "g.gen" }) d.write(f, "x");
	ASSERT_EQ(mkdir(d.file("adir").c_str(), 0755), 0);
	const std::string cannot = " is impossible to open, check file existence or reading permissions", inputs = " unphased input file with --input-bed, --input-ped, --input-gen or --input-vcf";
	const std::string io = "--input-vcf in.vcf --output-max out ", window_in = "The input window coordinates are incorrect (must have --input-from >= 0 & --input-to > 0 & --input-from < input-to";
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
		passes(io + "--burn 100000 --prune 100000 --run 1000 --main 100000", "value comprised"),
		refusal(io + "--states 2147483647", "You must specify a --states value comprised between 0 and 1000000"),
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
		passes(io + "--input-ref ref.hap ref.legend ref.sample --no-mcmc", "MCMC scheme"),
		refusal("--seed 1 --output-max out", "You must specify at least one" + inputs),
		refusal(io + "--input-gen g", "You must specify no more than one" + inputs),
		refusal("--input-vcf in.vcf", "You must specify at least one output file with --output-max, --output-vcf and/or --output-graph"),
		refusal("--input-bed b b.bim --output-max out", "Incorrect number of arguments given to --input-bed (it must be 3 files)"),
		passes("--input-bed b.bed b.bim b.fam --output-max out", "Incorrect number"),
		refusal("--input-bed b.bed b.bim nothere.fam --output-max out", "nothere.fam" + cannot),
		refusal("--input-vcf adir --output-max out", "adir" + cannot),
		refusal(io + "--input-ref ref.hap ref.legend", "Incorrect number of arguments given to --input-ref (it must be 3 files)"),
		refusal("--input-vcf in.vcf --output-max nodir/o", "nodir/o.haps is impossible to create, check writing permissions"),
		refusal("--input-vcf in.vcf --output-graph nodir/g.bin", "nodir/g.bin is impossible to create, check writing permissions"),
	});
	const std::string stop = "You cannot phase less than 10 samples wihout using a reference panel!";
	d.write("nine", "IND0001\nIND0002\nIND0003\nIND0004\nIND0005\nIND0006\nIND0007\nIND0008\nIND0009\n");
	d.write("ten", d.read("nine") + "IND0010\n");
	const std::string vcf = "--input-vcf " + exsubset::E + "/cohort.vcf.gz --output-max out -L log --force --burn 1 --prune 1 --main 1 ";
	EXPECT_TRUE(refused(runSorvane(vcf + "--include-ind nine", d.path), stop));
	EXPECT_TRUE(succeeded(runSorvane(vcf + "--include-ind ten", d.path)));
	EXPECT_TRUE(succeeded(runSorvane(vcf + "--include-ind nine" + exsubset::PANEL, d.path)));
}
