#include "input/filter_reader.h"
#include "input/genotype_test_utils.h"
#include "output/filter_writer.h"

using namespace genotest;

// Windows (end exclusive) and lists, plain and compressed: excluded beats included, a list line keeps its trailing blank, an identifier twice counts once; the writer takes the reader's lists and its own window.
TEST(filters, WindowsAndLists) {
	TempDir d;
	writeFiles(d, { { "snp_in", "100\n200 trailing words\n300\nnotanumber\n" }, { "snp_out", "200\n" }, { "ind_in.gz", "S1\nS2 \nS3\nS1\n" },
		{ "ind_out", "S3\n" }, { "grp_in", "EUR\n" }, { "grp_out", "AFR\n" }, { "empty", "" } });
	filter_reader F;
	F.initialise(0, 1000000000);
	EXPECT_TRUE(F.checkSnp(0) && F.checkSnp(999999999) && !F.checkSnp(1000000000) && F.checkInd("anyone") && F.checkGrp("A", "B"));
	F.initialise(150, 300);
	const std::string log = logOf(d, [&] {
		F.readSnpIncludeList(d.file("snp_in"));
		F.readSnpExcludeList(d.file("snp_out"));
		F.readIndIncludeList(d.file("ind_in.gz"));
		F.readIndExcludeList(d.file("ind_out"));
		F.readGrpIncludeList(d.file("grp_in"));
		F.readGrpExcludeList(d.file("grp_out"));
		filter_writer().readSnpIncludeList(d.file("empty"));
	});
	EXPECT_TRUE(has(log, "\nReading individuals to include from input file in [" + d.file("ind_in.gz") + "]\n  * 4 individuals found in the include list\n")) << log;
	EXPECT_TRUE(has(log, "\nReading SNPs to include from output file in [" + d.file("empty") + "]\n")) << log;
	EXPECT_EQ(F.ind_include.size(), 3u);
	// Listed but before the window; excluded; at the window end; not listed; a line without a number reads as 0.
	EXPECT_TRUE(!F.checkSnp(100) && !F.checkSnp(200) && !F.checkSnp(300) && !F.checkSnp(250) && F.snp_include.count(0));
	EXPECT_TRUE(F.checkInd("S1") && !F.checkInd("S2") && !F.checkInd("S3") && !F.checkInd("S4"));
	EXPECT_TRUE(F.checkGrp("EUR", "X") && F.checkGrp("X", "EUR") && !F.checkGrp("AFR", "EUR") && !F.checkGrp("EUR", "AFR") && !F.checkGrp("X", "Y"));

	F.initialise(0, 1000);
	EXPECT_TRUE(F.checkSnp(300));
	filter_writer W;
	W.initialise(F);
	W.setL(250);
	W.setR(400);
	EXPECT_TRUE(!W.checkSnp(100) && W.checkSnp(300) && !W.checkSnp(200) && W.checkInd("S1") && !W.checkInd("S3"));
	EXPECT_TRUE(F.checkSnp(100));	// the reader keeps its own window
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
