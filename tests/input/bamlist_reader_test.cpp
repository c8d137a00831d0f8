#include "input/bamlist_reader.h"
#include "input/genotype_test_utils.h"

using namespace genotest;

TEST(bamlist_reader, ReadsThreeColumns) {
	const std::string list = "s1 /data/s1.bam 3\ns2\t/data/s2.bam\t-1\r\n";
	testutils::silenceLog();
	TempDir d;
	testutils::writeCompressed(d.file("l.txt.gz"), list);
	bamlist_reader B;
	B.readBamList(d.file("l.txt.gz"));
	EXPECT_EQ(B.col0, std::vector < std::string > ({ "s1", "s2" }));
	EXPECT_EQ(B.col1, std::vector < std::string > ({ "/data/s1.bam", "/data/s2.bam" }));
	EXPECT_EQ(B.col2, std::vector < int > ({ 3, -1 }));
	d.write("empty", "");
	bamlist_reader E;
	E.readBamList(d.file("empty"));
	EXPECT_TRUE(E.col0.empty() && E.col1.empty() && E.col2.empty());
}

TEST(bamlist_reader, FatalMessages) {
	TempDir d;
	expectFaults(d, {}, {
		{ "l", "s1 a.bam 1\ns2 b.bam\n", "Parsing line 1 : incorrect number of columns, observed: 2 expected: 3" },
		{ "l", "s1 a.bam 1 x\n", "Parsing line 0 : incorrect number of columns, observed: 4 expected: 3" },
	}, [&] { bamlist_reader().readBamList(d.file("l")); });
	EXPECT_LOG_ERROR(bamlist_reader().readBamList(d.file("missing")), "Impossible to open file \\[.*/missing\\]");
}
