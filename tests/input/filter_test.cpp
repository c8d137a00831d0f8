#include "input/filter_reader.h"
#include "output/filter_writer.h"
#include "test_utils.h"

#include <map>

using testutils::TempDir;

TEST(filters, WindowsAndLists) {
	testutils::silenceLog();
	filter_reader F;
	F.initialise(0, 1000000000);
	EXPECT_TRUE(F.checkSnp(0));
	EXPECT_TRUE(F.checkSnp(999999999));
	EXPECT_FALSE(F.checkSnp(1000000000));
	EXPECT_TRUE(F.checkInd("anyone"));
	EXPECT_TRUE(F.checkGrp("A", "B"));

	TempDir d;
	d.write("snp_in", "100\n200 trailing words\n300\nnotanumber\n");
	d.write("snp_out", "200\n");
	d.write("ind_in", "S1\nS2 \nS3\n");
	d.write("ind_out", "S3\n");
	d.write("grp_in", "EUR\n");
	d.write("grp_out", "AFR\n");
	F.initialise(150, 300);
	F.readSnpIncludeList(d.file("snp_in"));
	F.readSnpExcludeList(d.file("snp_out"));
	F.readIndIncludeList(d.file("ind_in"));
	F.readIndExcludeList(d.file("ind_out"));
	F.readGrpIncludeList(d.file("grp_in"));
	F.readGrpExcludeList(d.file("grp_out"));

	EXPECT_FALSE(F.checkSnp(100));	// listed but before the window
	EXPECT_FALSE(F.checkSnp(200));	// excluded beats included
	EXPECT_FALSE(F.checkSnp(300));	// the window end is exclusive
	EXPECT_FALSE(F.checkSnp(250));	// not in the include list
	EXPECT_TRUE(F.snp_include.count(0));	// a line without a number reads as 0
	F.initialise(0, 1000);
	EXPECT_TRUE(F.checkSnp(300));

	EXPECT_TRUE(F.checkInd("S1"));
	EXPECT_FALSE(F.checkInd("S2"));	// the list kept the trailing blank
	EXPECT_FALSE(F.checkInd("S3"));
	EXPECT_FALSE(F.checkInd("S4"));

	EXPECT_TRUE(F.checkGrp("EUR", "X"));
	EXPECT_TRUE(F.checkGrp("X", "EUR"));
	EXPECT_FALSE(F.checkGrp("AFR", "EUR"));
	EXPECT_FALSE(F.checkGrp("EUR", "AFR"));
	EXPECT_FALSE(F.checkGrp("X", "Y"));

	filter_writer W;
	W.initialise(F);
	W.setL(250);
	W.setR(400);
	EXPECT_FALSE(W.checkSnp(100));
	EXPECT_TRUE(W.checkSnp(300));
	EXPECT_FALSE(W.checkSnp(200));
	EXPECT_TRUE(F.checkSnp(100));	// the reader keeps its own window
	EXPECT_TRUE(W.checkInd("S1"));
	EXPECT_FALSE(W.checkInd("S3"));
}

TEST(filters, ListMessagesAndCompressedLists) {
	TempDir d;
	LOG.muteC();
	LOG.unmuteL();
	ASSERT_TRUE(LOG.open(d.file("filters")));
	d.write("empty", "");
	testutils::writeCompressed(d.file("ids.gz"), "A\nB\nA\n");
	filter_reader F;
	F.readSnpExcludeList(d.file("empty"));
	F.readIndIncludeList(d.file("ids.gz"));
	filter_writer W;
	W.readSnpIncludeList(d.file("empty"));
	LOG.close();
	LOG.muteL();
	EXPECT_TRUE(F.snp_exclude.empty());
	EXPECT_EQ(F.ind_include.size(), 2u);
	EXPECT_EQ(d.read("filters.log"),
		"\nReading SNPs to exclude from input file in [" + d.file("empty") + "]\n"
		"\nReading individuals to include from input file in [" + d.file("ids.gz") + "]\n"
		"  * 3 individuals found in the include list\n"
		"\nReading SNPs to include from output file in [" + d.file("empty") + "]\n");
}

// Regions as bcftools takes them, 1-based and inclusive, narrowing the window already set.
TEST(filters, Regions) {
	const std::map < std::string, std::string > cases = { { "chr20", "chr20 0 1000" }, { "20:150-300", "20 150 301" }, { "20:150-", "20 150 1000" },
		{ "20:150", "20 150 1000" }, { "150-200", " 150 201" }, { "HLA-A*01:01:1-5", "HLA-A*01:01 100 6" } };
	for (const auto & c : cases) {
		filter_reader F;
		F.initialise(c.first[0] == 'H' ? 100 : 0, 1000);
		F.setRegion(c.first);
		EXPECT_EQ(F.chromosome + " " + std::to_string(F.pos_from) + " " + std::to_string(F.pos_to), c.second) << c.first;
	}
	for (std::string bad : { "20:300-150", "20:1x", ":1-5", "150-" }) EXPECT_LOG_ERROR(filter_reader().setRegion(bad), "The region \\[" + bad + "\\] is not of the form CHR, CHR:FROM-TO or FROM-TO with FROM <= TO");
}
