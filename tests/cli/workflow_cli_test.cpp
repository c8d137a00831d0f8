#include "cli/example_subset.h"

using namespace testutils;

// Two chunks ligate within half a point of the unchunked switch error; a failing chunk shows its error.
TEST(cli_workflow, ChunkedExampleLigates) {
	TempDir d;
	const std::string E = exsubset::E, options = "--burn 3 --prune 4 --main 8";
	d.write("config.yaml", "output: results\nchromosomes:\n  \"20\":\n    vcf: " + E + "/cohort.vcf.gz\n    map: " + E + "/genetic_map.txt\n"
		"chunk_size: 170000\noverlap: 40000\nthreads: 2\nseed: 1\nextra: \"" + options + "\"\n");
	const std::string snakemake = "ln -s " + E + " example && snakemake -s " + E + "/../workflow/Snakefile --cores 2 --config sorvane=" + SORVANE_BIN;
	RunResult r = runCommand(snakemake + " 'extra=--states 3'", d.path);
	EXPECT_TRUE(r.status != 0 && has(r.err, "ERROR: You must use at least 5 conditioning haplotypes for phasing")) << r.err;
	ASSERT_TRUE(succeeded(runCommand("rm example && " + snakemake + " --configfile config.yaml", d.path)));
	EXPECT_TRUE(!exists(d.file("results/20/chunk2.vcf.gz")) && exists(d.file("results/20.vcf.gz.tbi")));
	runOk("bcftools convert --hapsample chunked.haps,chunked.sample --vcf-ids results/20.vcf.gz", d.path);
	ASSERT_TRUE(succeeded(runSorvane("--input-vcf " + E + "/cohort.vcf.gz --input-map " + E + "/genetic_map.txt --thread 2 --seed 1 " + options + " --output-max whole -L whole", d.path)));
	const exsubset::Haplotypes chunked(d.file("chunked")), whole(d.file("whole")), truth(E + "/truth");
	ASSERT_EQ(chunked.ids, whole.ids);
	ASSERT_EQ(chunked.alleles.size(), whole.alleles.size());
	exsubset::expectGenotypesKept(chunked);
	long pairs;
	const double split = exsubset::switchError(chunked, truth, whole.ids, pairs), single = exsubset::switchError(whole, truth, whole.ids, pairs);
	EXPECT_LT(single, 0.03);
	EXPECT_LT(split, single + 0.005) << "chunked " << split << " unchunked " << single;
}
