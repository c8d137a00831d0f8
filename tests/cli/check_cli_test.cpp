#include "test_utils.h"

using namespace testutils;

static std::string smallVcf(int n_samples) {
	std::string v = "##fileformat=VCFv4.2\n#CHROM\tPOS\tID\tREF\tALT\tQUAL\tFILTER\tINFO\tFORMAT";
	for (int i = 0 ; i < n_samples ; i ++) v += "\tS" + std::to_string(i);
	v += "\n";
	for (int s = 0 ; s < 4 ; s ++) {
		v += "1\t" + std::to_string(100 + 10 * s) + "\t.\tA\tC\t.\tPASS\t.\tGT";
		for (int i = 0 ; i < n_samples ; i ++) v += ((i + s) % 3 == 0) ? "\t0/1" : ((i + s) % 3 == 1 ? "\t0/0" : "\t1/1");
		v += "\n";
	}
	return v;
}

TEST(cli_check, SmallCohortWarningAndChecks) {
	TempDir d;
	d.write("s49.vcf", smallVcf(49));
	d.write("s50.vcf", smallVcf(50));
	const std::string warning = "It is advice to use a reference panel when dealing with less than 50 individuals";
	RunResult r = runSorvane("-check --input-vcf s49.vcf -L a", d.path);
	EXPECT_TRUE(succeeded(r) && has(r.err, "WARNING: " + warning) && has(d.read("a.log"), "  * No reference panel used\n")) << r.err;
	r = runSorvane("-check --input-vcf s50.vcf -L a --noped", d.path);
	EXPECT_TRUE(succeeded(r) && !has(r.err, warning) && has(d.read("a.log"), "  * Pedigree information not taken into account\n")) << r.err;
	EXPECT_TRUE(refused(runSorvane("-check --input-vcf s50.vcf --input-thr 0.5", d.path), "You must specify a --input-thr value comprised between 0.5 and 1"));

	testutils::writeCompressed(d.file("full.vcf.gz"), smallVcf(60));
	const std::string gz = d.read("full.vcf.gz");
	d.write("cut.vcf.gz", gz.substr(0, gz.size() - 12));
	EXPECT_TRUE(refused(runSorvane("-check --input-vcf cut.vcf.gz -L a", d.path), "File [cut.vcf.gz] is corrupted or truncated"));
}
