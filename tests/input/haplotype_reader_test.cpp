#include "input/haplotype_reader.h"
#include "test_utils.h"

#include <ios>

using testutils::TempDir;

namespace {

void readHaps(filter_reader & F, const TempDir & d) {
	haplotype_reader H(F);
	H.readHaplotypeImpute(d.file("h.haps"), d.file("h.sample"));
}

const std::string header1 = "ID_1 ID_2 missing father mother sex plink_pheno";
const std::string header2 = "0 0 0 D D D B";

}

// Both layouts mixed line by line, a sample excluded by the filters (its digits skipped),
// sites refused by the filters, two identical sites kept, digits other than "1" read as 0.
TEST(haplotype_reader, LayoutsAndFilters) {
	const std::string sample = header1 + "\n" + header2 + "\nf1 s1 0 0 0 1 -9\nf2 s2 0 0 0 2 -9\nf3 s3 0 0 0 0 -9\r\n";
	const std::string haps =
		"1 rs100 100 A C 0 1 1 1 1 0\n"
		"1 rs200 id200 200 G T 1 1 0 0 2 ?\n"
		"1 rs300 300 A G 1 1 1 1 1 1\n"
		"1 rs400 400 C T 1 0 0 0 0 1\n"
		"1 rs400 400 C T 0 1 0 0 1 1\n"
		"1 rs2000 x2000 2000 A C 1 1 1 1 1 1\n";
	for (std::string ext : { "", ".gz", ".bz2" }) {
		SCOPED_TRACE("suffix " + ext);
		TempDir d;
		testutils::writeCompressed(d.file("h.sample" + ext), sample);
		testutils::writeCompressed(d.file("h.haps" + ext), haps);
		filter_reader F;
		F.initialise(0, 1000);
		F.snp_exclude[300] = true;
		F.ind_exclude["s2"] = false;

		LOG.muteC();
		LOG.unmuteL();
		ASSERT_TRUE(LOG.open(d.file("run")));
		haplotype_reader H(F);
		H.readHaplotypeImpute(d.file("h.haps" + ext), d.file("h.sample" + ext));
		LOG.close();
		LOG.muteL();

		EXPECT_EQ(H.sample_header1, header1);
		EXPECT_EQ(H.sample_header2, header2);
		EXPECT_EQ(H.ind_id, std::vector < std::string > ({ "s1", "s3" }));
		EXPECT_EQ(H.ind_fields, std::vector < std::vector < std::string > > ({ { "f1", "0", "0", "0", "1", "-9" }, { "f3", "0", "0", "0", "0", "-9" } }));
		std::string s3 = "s3", s2 = "s2";
		EXPECT_EQ(H.getInd(s3), 1);
		EXPECT_EQ(H.getInd(s2), -1);

		ASSERT_EQ(H.sites->size(), 4);
		snp * s = H.sites->getByIndex(1);
		EXPECT_EQ(s->chr, "1");
		EXPECT_EQ(s->id, "rs200");
		EXPECT_EQ(s->bp, 200);
		EXPECT_EQ(s->a0, "G");
		EXPECT_EQ(s->a1, "T");
		EXPECT_EQ(s->properties, std::vector < std::string > ({ "id200" }));
		EXPECT_EQ(s->source, 7);
		EXPECT_EQ(s->idx, 1);
		EXPECT_TRUE(H.sites->getByIndex(0)->properties.empty());
		EXPECT_EQ(H.sites->getByIndex(3)->bp, 400);
		EXPECT_EQ(H.sites->getByIndex(3)->idx, 3);

		EXPECT_EQ(H.hap0[0], std::vector < bool > ({ 0, 1, 1, 0 }));
		EXPECT_EQ(H.hap1[0], std::vector < bool > ({ 1, 1, 0, 1 }));
		EXPECT_EQ(H.hap0[1], std::vector < bool > ({ 1, 0, 0, 1 }));
		EXPECT_EQ(H.hap1[1], std::vector < bool > ({ 0, 0, 1, 1 }));

		// The format line follows the last line of the file, an excluded one here.
		EXPECT_EQ(d.read("run.log"),
			"\nReading sample list in [" + d.file("h.sample" + ext) + "]\n"
			"  * 2 individuals included\n"
			"  * 1 individuals excluded\n"
			"\nReading site list and haplotypes in [" + d.file("h.haps" + ext) + "]\n"
			"  * New HAP/SAMPLE format detected\n"
			"  * 4 sites included\n"
			"  * 2 sites excluded\n");
	}
}

// putSnp compares with the last included site before the filters, and refuses nothing else.
TEST(haplotype_reader, SiteOrder) {
	testutils::silenceLog();
	filter_reader F;
	F.initialise(450, 1000);
	haplotype_reader H(F);
	EXPECT_EQ(H.putSnp("1", -1, "A", "C"), nullptr);
	EXPECT_EQ(H.putSnp("1", 100, "A", "C"), nullptr);
	ASSERT_NE(H.putSnp("1", 500, "A", "C"), nullptr);
	EXPECT_EQ(H.putSnp("1", 1200, "A", "C"), nullptr);
	ASSERT_NE(H.putSnp("1", 500, "A", "C"), nullptr);
	ASSERT_NE(H.putSnp("1", 500, "A", "CT"), nullptr);
	EXPECT_EQ(H.sites->size(), 3);
	EXPECT_EQ(H.putSnp("1", -5, "A", "C"), nullptr);
	EXPECT_LOG_ERROR(H.putSnp("1", 400, "A", "C"), "Wrong ordering in physical positions curr_pos=400 prev_pos=500");

	TempDir d;
	d.write("h.sample", header1 + "\n" + header2 + "\n");
	d.write("h.haps", "1 a 500 A C\n1 b 100 A C\n");
	EXPECT_LOG_ERROR(readHaps(F, d), "Wrong ordering in physical positions curr_pos=100 prev_pos=500");
}

TEST(haplotype_reader, BadInput) {
	testutils::silenceLog();
	filter_reader F;
	F.ind_exclude["x"] = false;
	TempDir d;

	// Only the two header lines: no individuals, and 5 or 6 fields per line.
	d.write("h.sample", header1 + "\n" + header2 + "\n");
	d.write("h.haps", "1 a 100 A C\n1 b c 200 A C\n");
	haplotype_reader H(F);
	H.readHaplotypeImpute(d.file("h.haps"), d.file("h.sample"));
	EXPECT_TRUE(H.ind_id.empty());
	ASSERT_EQ(H.sites->size(), 2);
	EXPECT_EQ(H.sites->getByIndex(1)->bp, 200);
	d.write("h.haps", "1 a 100 A C\n1 b 200 A C 0 1\n");
	EXPECT_LOG_ERROR(readHaps(F, d), "Line=2 found=7 fields, expected=5 or 6");

	// The excluded sample still counts, twice over, among the fields.
	d.write("h.sample", header1 + "\n" + header2 + "\n1 s1 0 0 0 1 -9\n2 x 0\n3 x 0\n");
	d.write("h.haps", "1 a 100 A C 0 1 0 1 0 1\n1 b 200 A C 0 1 0 1\n");
	EXPECT_LOG_ERROR(readHaps(F, d), "Line=2 found=9 fields, expected=11 or 12");

	d.write("h.sample", header1 + "\n" + header2 + "\n1 s1 0\n2 s2\n");
	EXPECT_LOG_ERROR(readHaps(F, d), "Line=2 found=2 fields, expected more that 3");
	d.write("h.sample", header1 + "\n" + header2 + "\n1 s1 0\n2 s2 0\n3 s1 0\n");
	EXPECT_LOG_ERROR(readHaps(F, d), "Two individuals or more have the following ID : s1");
	d.write("h.sample", header1 + "\n");
	EXPECT_LOG_ERROR(readHaps(F, d), "Sample file \\[.*h.sample\\] lacks its two header lines");

	d.write("h.sample", header1 + "\n" + header2 + "\n");
	EXPECT_LOG_ERROR(haplotype_reader(F).readHaplotypeImpute(d.file("h.haps"), d.file("none.sample")), "Impossible to open file \\[.*none.sample\\]");
	EXPECT_LOG_ERROR(haplotype_reader(F).readHaplotypeImpute(d.file("none.haps"), d.file("h.sample")), "Impossible to open file \\[.*none.haps\\]");

	d.write("bad.haps.gz", "this is not gzip data\n");
	haplotype_reader B(F);
	EXPECT_THROW(B.readHaplotypeImpute(d.file("bad.haps.gz"), d.file("h.sample")), std::ios_base::failure);
}
