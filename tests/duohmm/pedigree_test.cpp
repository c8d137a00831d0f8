#include "duohmm/Haplotypes.h"
#include "duohmm/geneticMap.h"
#include "duohmm/pedigree.h"
#include "test_utils.h"

// Families from a FAM file listed children first: parents ordered first, an absent parent
// "0", a father of sex 2 only warned about, a singleton family emptied by its ordering.
TEST(pedigree, FamiliesOrderAndFileErrors) {
	testutils::TempDir d;
	d.write("p.fam", "A C1 F M 1\nA C2 F M 2\nA F GF GM 1\nA GF 0 0 1\nA GM 0 0 1\nA M 0 0 2\nB S 0 0 2\nC Z OUT M 1\n");
	testing::internal::CaptureStderr();
	pedigree P(d.file("p.fam"), { "C1", "C2", "F", "GF", "GM", "M", "S", "Z" }, 'f');
	EXPECT_EQ(testing::internal::GetCapturedStderr(), "WARNING: sex of sample GM does not match pedigree information.\n");
	ASSERT_EQ(P.families.size(), 2u);
	EXPECT_EQ(P.families[0], (std::set < std::string > { "C1", "C2", "F", "GF", "GM", "M", "Z" }));
	EXPECT_EQ(P.sampleinfo["Z"].dad, "0");
	EXPECT_EQ(P.sampleinfo["F"].kids, (std::set < std::string > { "C1", "C2" }));
	EXPECT_EQ(P.sampleinfo["M"].kids, (std::set < std::string > { "C1", "C2", "Z" }));
	std::vector < std::string > order;
	P.orderSamples(P.families[0], order);
	EXPECT_EQ(order, (std::vector < std::string > { "GF", "GM", "M", "F", "Z", "C1", "C2" }));
	P.orderSamples(P.families[1], order);
	EXPECT_EQ(order.back(), "S");
	EXPECT_TRUE(P.families[1].empty());
	d.write("nosex.sample", "ID_1 ID_2 father mother gender\n0 0 D D D\nA C F M 1\n");
	EXPECT_EXIT(pedigree(d.file("nosex.sample"), { "C" }, 's'), testing::ExitedWithCode(1), "ERROR: sex column was not in .*nosex.sample");
	EXPECT_EXIT(pedigree(d.file("none.fam"), { "C" }, 'f'), testing::ExitedWithCode(1), "Problem reading .*none.fam");
}

// Maps uniform or from a file (points added at 0 and 5 Mb past the end); HAPS read, imputed.
TEST(Haplotypes, MapReadAndImpute) {
	testutils::TempDir d;
	d.write("map", "position rate cM\n100 1 0.5\n200 1 1.5\n");
	geneticMap uniform, M(d.file("map"));
	EXPECT_EQ(std::vector < float > ({ uniform.interpolate(0), uniform.interpolate(2000000), geneticMap("").interpolate(1000000) }), std::vector < float > ({ 0.0f, 2.38f, 1.19f }));
	EXPECT_EQ(M.pos, (std::vector < float > { 0, 100, 200, 200, 5000200 }));
	EXPECT_FLOAT_EQ(M.cM[4], 7.45f);
	std::vector < float > out;
	M.interpolate({ 0, 100, 150, 50, 10000200 }, out);
	EXPECT_EQ(out, (std::vector < float > { 0.0f, 0.5f, 1.0f, 0.25f, 13.4f }));
	EXPECT_EXIT(geneticMap(d.file("none")), testing::ExitedWithCode(1), "Problem reading genetic map: .*none\nExiting...");
	d.write("h.sample", "ID_1 ID_2 missing\n0 0 0\nA a 0\nB b 0\nC c 0\n");
	d.write("h.haps", "1 s1 1000 A C 0 0 0 1 1 1\n1 s2 2000 A C 1 0 1 0 0 0\n1 s3 3000 A C 0 0 0 1 1 1\n1 s4 4000 A C 0 1 0 1 1 1\n");
	testing::internal::CaptureStdout();
	Haplotypes H(d.file("h"));
	EXPECT_TRUE(testutils::has(testing::internal::GetCapturedStdout(), "6 haplotypes over 4 markers.\n"));
	for (int i : { 1, 2 }) H._missing[i].set(1, true);
	EXPECT_FLOAT_EQ(H.impute(0, 1), 0.0f);	// only haplotype 1 is left, carrying 0
	d.write("bad.sample", "ID_1 ID_2\n0 0\nA a\n");
	d.write("bad.haps", "1 s1 1000 A C 0 2\n");
	EXPECT_EXIT(Haplotypes(d.file("bad")), testing::ExitedWithCode(1), "INVALID VALUE IN HAPLOTYPE FILE ON LINE 1 COLUMN 7\nExiting...");
}
