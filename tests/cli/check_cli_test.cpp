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

	// A truncated compressed input ends the run with a clear error, never a partial read.
	testutils::writeCompressed(d.file("full.vcf.gz"), smallVcf(60));
	const std::string gz = d.read("full.vcf.gz");
	d.write("cut.vcf.gz", gz.substr(0, gz.size() - 12));
	EXPECT_TRUE(refused(runSorvane("-check --input-vcf cut.vcf.gz -L a", d.path), "File [cut.vcf.gz] is corrupted or truncated"));
}

// A trio with one Mendel error, and a second family whose parents have two children.
static const std::string family_ped =
	"F1 DAD 0 0 1 -9 A C A A A A C C A C\n"
	"F1 MUM 0 0 2 -9 A C C C A A A C A A\n"
	"F1 KID DAD MUM 1 -9 A A A C C C C C A C\n"
	"F2 P1 0 0 1 -9 A C A C A C A C A C\n"
	"F2 P2 0 0 2 -9 A A C C A C A A C C\n"
	"F2 S1 P1 P2 1 -9 A C A C A A A A C C\n";
static const std::string second_child = "F2 S2 P1 P2 2 -9 A A C C C C A C A C\n";
static const std::string unrelated_ped =
	"U0 U0 0 0 1 -9 A A A C C C A C A A\n"
	"U1 U1 0 0 2 -9 A C C C A C A A A A\n"
	"U2 U2 0 0 1 -9 C C A C A A A A A C\n"
	"U3 U3 0 0 2 -9 A C A A A A A C C C\n";
static const std::string family_map = "1 rs0 0 1000\n1 rs1 0 1100\n1 rs2 0 1200\n1 rs3 0 1300\n1 rs4 0 1400\n";

TEST(cli_check, PedigreeChecks) {
	TempDir d;
	d.write("trio.ped", family_ped + unrelated_ped);
	d.write("trio.map", family_map);
	d.write("sibs.ped", family_ped + second_child + unrelated_ped);
	d.write("sibs.map", family_map);

	ASSERT_TRUE(succeeded(runSorvane("-check --input-ped trio -L trio", d.path)));
	EXPECT_TRUE(hasAll(d.read("trio.ind.me"), { "id\tfather_id\tfather_mendel\tmother_id\tmother_mendel\tfather_mother_mende\tfamID\n", "\nKID\tDAD\t1\tMUM\t1\t1\t0\n", "\nS1\tP1\t0\tP2\t0\t0\t1\n" }));
	EXPECT_EQ(d.read("trio.snp.me"), "id\tposition\tmendel\ttotal\nrs0\t1000\t0\t2\nrs1\t1100\t0\t2\nrs2\t1200\t1\t2\nrs3\t1300\t0\t2\nrs4\t1400\t0\t2\n");
	EXPECT_TRUE(has(d.read("trio.log"), "  * 1 trios with high Mendel error rate (> 5%)\n")) << d.read("trio.log");

	// Parents with two children sit in two trios: reported and refused, unless pedigrees are ignored.
	EXPECT_TRUE(refused(runSorvane("-check --input-ped sibs -L sibs", d.path), "  * 2 samples are included in several duos/trios, check list in sibs.inc.me"));
	EXPECT_EQ(d.read("sibs.inc.me"), "id\nP1\nP2\n");
	EXPECT_TRUE(succeeded(runSorvane("-check --input-ped sibs -L noped --noped", d.path)) && !exists(d.file("noped.inc.me")));
}
