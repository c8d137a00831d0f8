#include "genotype_test_utils.h"
#include "modes/sorvane.h"

#include <array>
#include <cmath>

using namespace genotest;

namespace {

// Adds individuals and sites, and fills every genotype with the given pairs, row by
// individual, one "h0h1" or ".." per site.
void fill(genotype_reader & G, const std::vector < std::string > & ids, const std::vector < std::string > & rows) {
	for (std::string id : ids) G.putInd(id);
	for (size_t i = 0 ; i < rows.size() ; i ++) {
		for (size_t c = 0 ; c < rows[i].size() ; c += 3) {
			bool miss = rows[i][c] == '.';
			G.hap0[i].push_back(!miss && rows[i][c] == '1');
			G.hap1[i].push_back(!miss && rows[i][c + 1] == '1');
			G.missing[i].push_back(miss);
		}
	}
}

}

TEST(genotype_reader, PutIndAndPutSnpRefusals) {
	testutils::silenceLog();
	Store S;
	S.F.ind_exclude["X"] = false;
	std::string a = "A", b = "B", x = "X";
	// An excluded identifier twice is no fault.
	EXPECT_EQ(std::vector < int > ({ S.G.putInd(a), S.G.putInd(x), S.G.putInd(x), S.G.putInd(b), S.G.getInd(b), S.G.getInd(x) }), std::vector < int > ({ 1, 0, 0, 1, 1, -1 }));
	EXPECT_TRUE(S.G.ind_id == std::vector < std::string > ({ "A", "B" }) && S.G.ind_order == std::vector < int > ({ 0, 1 }) && S.G.ind_male == std::vector < bool > ({ false, false }));
	EXPECT_LOG_ERROR(S.G.putInd(a), "Two individuals or more have the following ID : A");

	S.F.initialise(-10, 1000);
	S.F.snp_exclude[50] = true;
	S.F.snp_exclude[120] = true;
	// Lower but excluded (not compared), negative (silently excluded) or outside the window:
	// refused; the same position with other alleles, or the same alleles swapped: taken.
	for (const auto & c : std::vector < std::pair < int, std::string > > { { 100, "A C" }, { 50, "" }, { -1, "" }, { 2000, "" }, { 100, "A G" }, { 100, "C A" }, { 110, "A C,G" } })
		EXPECT_EQ(S.G.putSnp("1", c.first, c.second.empty() ? "A" : c.second.substr(0, 1), c.second.empty() ? "C" : c.second.substr(2), 5) != nullptr, !c.second.empty()) << c.first;
	EXPECT_EQ(siteList(S.G), "100:A/C 100:A/G 100:C/A 110:A/C,G");
	EXPECT_LOG_ERROR(S.G.putSnp("1", 100, "A", "C", 5), "Wrong ordering in physical positions curr_pos=100 prev_pos=110");
	EXPECT_LOG_ERROR(S.G.putSnp("1", 110, "A", "C,G", 2), "Duplicate site pos=110 ref=A alt=C,G");
	EXPECT_LOG_ERROR(S.G.putSnp("2", 130, "A", "C", 5), "more than one chromosome \\(1, then 2 at position 130\\)");
}

TEST(genotype_reader, IndexingPedigreesLinksCountsAndFamilies) {
	TempDir d;
	Store S;
	S.F.ind_exclude["gone"] = false;
	// 0 child of 3 and 5, who each descend from a separate family: one family in all.
	// 1 has only a father (duo); 2 names an excluded father (unrelated); 4 is alone;
	// 5, 6 and 7 have children but no parents (in no count).
	std::vector < std::string > ids = { "c", "duo", "orphan", "a", "alone", "b", "gp", "gm", "gone" };
	std::vector < std::string > fathers = { "a", "gp", "gone", "gp", "0", "x?", "0", "0" };
	std::vector < std::string > mothers = { "b", "0", "0", "gm", "0", "0", "0", "0" };
	for (std::string id : ids) S.G.putInd(id);
	std::string log = logOf(d, [&] { S.G.indexingPedigrees(fathers, mothers); });

	EXPECT_EQ(S.G.ind_father, std::vector < int > ({ 3, 6, -1, 6, -1, -1, -1, -1 }));
	EXPECT_EQ(S.G.ind_mother, std::vector < int > ({ 5, -1, -1, 7, -1, -1, -1, -1 }));
	EXPECT_EQ(S.G.ind_children[6], std::vector < int > ({ 1, 3 }));
	EXPECT_EQ(S.G.ind_children[5], std::vector < int > ({ 0 }));
	EXPECT_FALSE(S.G.isFounder(1));
	// Components numbered by their lowest index: {0,1,3,5,6,7}, {2}, {4}.
	EXPECT_EQ(S.G.ind_family, std::vector < int > ({ 0, 0, 1, 0, 2, 0, 0, 0 }));
	// Unrelated: orphan, alone; duos: duo; trios: c, a.
	EXPECT_TRUE(contains(log, "  * 2 unrelateds / 1 duos / 2 trios in 3 different families\n")) << log;
}

TEST(genotype_reader, ResetSnpAndAlleleRepairs) {
	testutils::silenceLog();
	Store S;
	// Site 0: PED site seen with one allele; site 1: first allele "0", all homozygous
	// second allele or missing; site 2: first allele "0" with a heterozygote; site 3:
	// second allele "0", all homozygous first allele; site 4: both alleles "0".
	S.G.putSnp("1", 1, "A", "", 1);
	S.G.putSnp("1", 2, "0", "G", 2);
	S.G.putSnp("1", 3, "0", "T", 2);
	S.G.putSnp("1", 4, "C", "0", 2);
	S.G.putSnp("1", 5, "0", "0", 2);
	S.G.sites->indexing();
	fill(S.G, { "i", "j", "k" }, { "00 11 01 00 11", "00 .. 11 .. ..", "00 11 11 00 .." });

	S.G.fixPed();
	EXPECT_EQ(S.G.sites->getByIndex(0)->a1, "A");
	EXPECT_EQ(S.G.sites->getByIndex(1)->a1, "G");	// only empty second alleles change
	S.G.fixBed();
	EXPECT_EQ(siteList(S.G), "1:A/A 2:G/G 3:0/T 4:C/C 5:0/0");
	EXPECT_EQ(allGenotypes(S.G), "00 00 01 00 00 | 00 .. 11 .. .. | 00 00 11 00 ..");

	EXPECT_EQ(S.G.resetSnp(true, 2), 0);
	EXPECT_EQ(S.G.resetSnp(false, 3), 1);
	EXPECT_EQ(S.G.resetSnp(true, 4), 2);
	EXPECT_EQ(allGenotypes(S.G), "00 00 11 00 11 | 00 .. 11 00 11 | 00 00 11 00 11");
}

// A call turns the triple one-hot; a failed call leaves it alone.
TEST(genotype_reader, HardCallRules) {
	struct Case { std::array < float, 3 > p; double threshold; int call; };
	// A probability equal to the threshold passes, for each genotype. The replacement of an
	// all-zero triple fails above 0.334 and calls 1 by highest probability. With threshold 0
	// every test passes in turn on the live values; ties go to the lower genotype.
	const std::vector < Case > cases = { { { 0.05f, 0.95f, 0.0f }, 0.9, 1 }, { { 0.2f, 0.4f, 0.4f }, 0.9, -1 },
		{ { 0.75f, 0.25f, 0.0f }, 0.75, 0 }, { { 0.25f, 0.75f, 0.0f }, 0.75, 1 }, { { 0.0f, 0.25f, 0.75f }, 0.75, 2 },
		{ { 0.332f, 0.334f, 0.334f }, 0.9, -1 }, { { 0.332f, 0.334f, 0.334f }, -1.0, 1 }, { { 0.7f, 0.2f, 0.1f }, 0.0, 2 },
		{ { 0.5f, 0.5f, 0.0f }, -1.0, 0 }, { { 0.0f, 0.5f, 0.5f }, -1.0, 1 }, { { 0.1f, 0.2f, 0.7f }, -1.0, 2 } };
	long failed = 0, passed = 0;
	for (const Case & c : cases) {
		std::array < float, 3 > p = c.p, after = c.p;
		if (c.call >= 0) after = { c.call == 0 ? 1.0f : 0.0f, c.call == 1 ? 1.0f : 0.0f, c.call == 2 ? 1.0f : 0.0f };
		EXPECT_EQ(hard_call(p[0], p[1], p[2], c.threshold, failed, passed), c.call) << c.p[0] << " " << c.threshold;
		EXPECT_EQ(p, after) << c.p[0] << " " << c.threshold;
	}
	float n0 = NAN, n1 = NAN, n2 = NAN;
	EXPECT_EQ(hard_call(n0, n1, n2, -1.0, failed, passed), -1);
	EXPECT_EQ(failed, 3);
	EXPECT_EQ(passed, 9);
}

// The one open of all the store's readers is tested here.
TEST(genotype_reader, ReadSex) {
	TempDir d;
	Store S;
	fill(S.G, { "A", "B", "C" }, { "", "", "" });
	S.G.ind_male[2] = true;
	testutils::writeCompressed(d.file("sex.gz"), "A 1\nB 2\nnobody 1\nghost 2\r\n");
	std::string log = logOf(d, [&] { S.G.readSex(d.file("sex.gz")); });
	EXPECT_EQ(S.G.ind_male, std::vector < bool > ({ true, false, true }));	// C is not named: unchanged
	EXPECT_TRUE(contains(log, "  * 2 individuals with sex specified\n  * 2 individuals with unspecified sex (assuming female!)\n")) << log;
	expectFaults(d, {}, {
		{ "sex", "A 1\nB 2 extra\n", "Line=1 found=3 fields, expected 2" },
		{ "sex", "\nA 1\n", "Line=0 found=0 fields, expected 2" },
	}, [&] { S.G.readSex(d.file("sex")); });
	EXPECT_LOG_ERROR(S.G.readSex(d.file("absent")), "Impossible to open file \\[.*/absent\\]");
}

TEST(genotype_reader, ReadScaffoldImpute) {
	TempDir d;
	flippable = 1;
	Store S;
	S.G.putSnp("1", 100, "A", "C", 3);
	S.G.putSnp("1", 200, "A", "T", 3);
	S.G.putSnp("1", 300, "G", "T", 3);
	S.G.putSnp("1", 400, "A", "T", 3);
	S.G.putSnp("1", 400, "T", "A", 3);
	S.G.sites->indexing();
	fill(S.G, { "S1", "S2", "S3" }, { "00 00 00 00 00", ".. .. .. .. ..", "11 11 11 11 11" });

	// Columns: S2, a sample absent from the store, S1, S2 again (ignored the second time).
	d.write("scaf.sample", "ID_1 ID_2 missing\n0 0 0\nf S2 0\nf absent 0\nf S1 0\nf S2 0\n");
	d.write("scaf.haps",
		"1 r1 100 A C 1 0 1 1 0 1 1 1\n"	// same strand
		"1 r2 200 T A 0 1 1 1 0 1 0 0\n"	// swapped: digits inverted
		"1 r3 300 G C 1 1 1 1 1 1 1 1\n"	// position known, alleles not: misaligned
		"1 r4 350 A C 1 1 1 1 1 1 1 1\n"	// unknown position
		"1 r5 400 A T 1 1 1 1 1 1 1 1\n");	// two sites match once flipped
	std::string log = logOf(d, [&] { S.G.readScaffoldImpute(d.file("scaf.haps"), d.file("scaf.sample")); });
	EXPECT_EQ(allGenotypes(S.G), "01 10 00 00 00 | 10 10 .. .. .. | 11 11 11 11 11");
	EXPECT_TRUE(S.G.scaffold[0] == std::vector < bool > ({ true, true, false, false, false }) && S.G.scaffold[1] == S.G.scaffold[0] && S.G.scaffold[2].empty());
	EXPECT_TRUE(contains(log, "  * 2 samples with a scaffold out of 3\n") && contains(log, "  * 2 mapped sites\n  * 1 unmapped sites\n  * 1 misaligned sites\n  * 1 multi match sites\n")) << log;

	// Without strand swaps the swapped line is misaligned.
	flippable = 0;
	Store T;
	T.G.putSnp("1", 200, "A", "T", 3);
	T.G.sites->indexing();
	fill(T.G, { "S1" }, { "00" });
	d.write("one.sample", "a b c\nd e f\nf S1 0\n");
	d.write("one.haps", "1 r2 200 T A 0 1\n");
	T.G.readScaffoldImpute(d.file("one.haps"), d.file("one.sample"));
	EXPECT_EQ(genotypes(T.G, 0), "00");
	EXPECT_EQ(T.G.scaffold[0], std::vector < bool > ({ false }));
	flippable = 1;

	// The field count of the HAPS file follows the SAMPLE file.
	expectFaults(d, { { "f.haps", "" }, { "f.sample", "a b c\nd e f\nf S3 0\nf x 0\nf y 0\nf z 0\n" } }, {
		{ "f.sample", "a b c\nd e f\nf S1\n", "Line=0 found=2 fields, expected more than 3" },
		{ "f.haps", "1 r1 100 A C 1 0 1 1 0 1 1 1\n1 r2 200 A T 1 0\n", "Line=2 found=7 fields, expected =13, in \\[.*f.haps\\]" },
		{ "f.haps", "1 r1 100 A C NA 0 1 1 0 1 1 1\n", "Allele code \\[NA\\] at line 1 of \\[.*f.haps\\]" },
	}, [&] { S.G.readScaffoldImpute(d.file("f.haps"), d.file("f.sample")); });
}
