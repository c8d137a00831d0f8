#include "input/genotype_test_utils.h"
#include "input/haplotype_reader.h"

using namespace genotest;

namespace {

const std::string header = "ID_1 ID_2 missing father mother sex plink_pheno\n0 0 0 D D D B\n";

}

// Both layouts mixed line by line, a sample excluded (its digits skipped), sites refused by the filters, two identical sites kept, compressed files.
TEST(haplotype_reader, LayoutsAndFilters) {
	const std::string sample = header + "f1 s1 0 0 0 1 -9\nf2 s2 0 0 0 2 -9\nf3 s3 0 0 0 0 -9\r\n";
	const std::string haps = "1 rs100 100 A C 0 1 1 1 1 0\n1 rs200 id200 200 G T 1 1 0 0 0 0\n1 rs300 300 A G 1 1 1 1 1 1\n"
		"1 rs400 400 C T 1 0 0 0 0 1\n1 rs400 400 C T 0 1 0 0 1 1\n1 rs2000 x2000 2000 A C 1 1 1 1 1 1\n";
	TempDir d;
	writeFiles(d, { { "h.sample.bz2", sample }, { "h.haps.bz2", haps } });
	filter_reader F;
	F.initialise(0, 1000);
	F.snp_exclude[300] = true;
	F.ind_exclude["s2"] = false;
	haplotype_reader H(F);
	std::string log = logOf(d, [&] { H.readHaplotypeImpute(d.file("h.haps.bz2"), d.file("h.sample.bz2")); });

	EXPECT_EQ(H.sample_header1 + "\n" + H.sample_header2 + "\n", header);
	EXPECT_EQ(H.ind_id, std::vector < std::string > ({ "s1", "s3" }));
	EXPECT_EQ(H.ind_fields[1], std::vector < std::string > ({ "f3", "0", "0", "0", "0", "-9" }));
	EXPECT_EQ(siteList(H.sites.get()), "100:A/C 200:G/T 400:C/T 400:C/T");
	snp * s = H.sites->getByIndex(1);
	EXPECT_EQ(s->chr + " " + s->id + " " + std::to_string(s->source) + " " + std::to_string(s->idx) + " " + s->properties[0], "1 rs200 7 1 id200");
	EXPECT_EQ(H.hap0, std::vector < std::vector < bool > > ({ { 0, 1, 1, 0 }, { 1, 0, 0, 1 } }));
	EXPECT_EQ(H.hap1, std::vector < std::vector < bool > > ({ { 1, 1, 0, 1 }, { 0, 0, 1, 1 } }));
	// The format line follows the last line of the file, an excluded one here.
	EXPECT_TRUE(has(log, "  * 2 individuals included\n  * 1 individuals excluded\n") && has(log, "  * New HAP/SAMPLE format detected\n  * 4 sites included\n  * 2 sites excluded\n")) << log;
}

// Only the two header lines: no individuals.
TEST(haplotype_reader, EmptySamplesSiteOrderAndFatalMessages) {
	testutils::silenceLog();
	filter_reader F;
	F.ind_exclude["x"] = false;
	TempDir d;
	writeFiles(d, { { "h.sample", header }, { "h.haps", "1 a 100 A C\n1 b c 200 A C\n" } });
	haplotype_reader H(F);
	H.readHaplotypeImpute(d.file("h.haps"), d.file("h.sample"));
	EXPECT_TRUE(H.ind_id.empty());
	EXPECT_EQ(siteList(H.sites.get()), "100:A/C 200:A/C");

	auto read = [&] { haplotype_reader(F).readHaplotypeImpute(d.file("h.haps"), d.file("h.sample")); };
	expectFaults(d, { { "h.sample", header }, { "h.haps", "1 a 100 A C 0 1 0 1 0 1\n1 b 200 A C 0 1 0 1\n" } }, {
		{ "h.haps", "1 a 100 A C\n1 b 200 A C 0 1\n", "Line=2 found=7 fields, expected=5 or 6" },
		// The order is checked in the file as well, before the filters.
		{ "h.haps", "1 a 500 A C\n1 b 100 A C\n", "Wrong ordering in physical positions curr_pos=100 prev_pos=500" },
		// The excluded sample still counts, twice over, among the fields.
		{ "h.sample", header + "1 s1 0 0 0 1 -9\n2 x 0\n3 x 0\n", "Line=2 found=9 fields, expected=11 or 12" },
		{ "h.sample", header + "1 s1 0\n2 s2\n", "Line=2 found=2 fields, expected more that 3" },
		{ "h.sample", header + "1 s1 0\n2 s2 0\n3 s1 0\n", "Two individuals or more have the following ID : s1" },
		{ "h.sample", "ID_1 ID_2 missing\n", "Sample file \\[.*h.sample\\] lacks its two header lines" },
	}, read);
	writeFiles(d, { { "h.sample", header + "1 s1 0\n" }, { "h.haps", "1 a 100 A C 0 1\n1 b 200 A C 0 2\n" } });
	EXPECT_LOG_ERROR(read(), "Allele code \\[2\\] at line 2 of \\[.*h.haps\\]: a haplotype allele is 0 or 1");
	EXPECT_LOG_ERROR(haplotype_reader(F).readHaplotypeImpute(d.file("none.haps"), d.file("h.sample")), "Impossible to open file \\[.*none.haps\\]");
}
