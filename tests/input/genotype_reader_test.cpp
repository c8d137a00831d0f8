#include "genotype_test_utils.h"
#include "modes/sorvane.h"

#include <array>
#include <cmath>

using namespace genotest;

namespace {

// Adds individuals and sites, and fills every genotype with the given pairs, row by individual, one "h0h1" or ".." per site.
void fill(genotype_reader & G, const std::vector < std::string > & ids, const std::vector < std::string > & rows) {
	for (std::string id : ids) G.putInd(id);
	for (size_t i = 0 ; i < rows.size() ; i ++) for (size_t c = 0 ; c < rows[i].size() ; c += 3) {
		G.hap0[i].push_back(rows[i][c] == '1');
		G.hap1[i].push_back(rows[i][c + 1] == '1');
		G.missing[i].push_back(rows[i][c] == '.');
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
	// Lower but excluded (not compared), negative (silently excluded) or outside the window: refused; the same position with other or swapped alleles: taken.
	for (const auto & c : std::vector < std::pair < int, std::string > > { { 100, "A C" }, { 50, "" }, { -1, "" }, { 2000, "" }, { 100, "A G" }, { 100, "C A" }, { 110, "A C,G" } })
		EXPECT_EQ(S.G.putSnp("1", c.first, c.second.empty() ? "A" : c.second.substr(0, 1), c.second.empty() ? "C" : c.second.substr(2), 5) != nullptr, !c.second.empty()) << c.first;
	EXPECT_EQ(siteList(S.G.sites.get()), "100:A/C 100:A/G 100:C/A 110:A/C,G");
	EXPECT_LOG_ERROR(S.G.putSnp("1", 100, "A", "C", 5), "Wrong ordering in physical positions curr_pos=100 prev_pos=110");
	EXPECT_LOG_ERROR(S.G.putSnp("1", 110, "A", "C,G", 2), "Duplicate site pos=110 ref=A alt=C,G");
	EXPECT_LOG_ERROR(S.G.putSnp("2", 130, "A", "C", 5), "more than one chromosome \\(1, then 2 at position 130\\)");
}

// A call turns the triple one-hot; a failed call leaves it alone.
TEST(genotype_reader, HardCallRules) {
	struct Case { std::array < float, 3 > p; double threshold; int call; };
	// A probability equal to the threshold passes, for each genotype. The replacement of an all-zero triple fails above 0.334 and calls 1 by highest
	// probability. With threshold 0 every test passes in turn on the live values; ties go to the lower genotype.
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
	EXPECT_EQ(std::make_pair(failed, passed), std::make_pair(3L, 9L));
}

TEST(genotype_reader, ReadSexAndScaffoldImpute) {
	TempDir d;
	Store S;
	fill(S.G, { "A", "B", "C" }, { "", "", "" });
	S.G.ind_male[2] = true;
	testutils::writeCompressed(d.file("sex.gz"), "A 1\nB 2\nnobody 1\nghost 2\r\n");
	std::string log = logOf(d, [&] { S.G.readSex(d.file("sex.gz")); });
	EXPECT_EQ(S.G.ind_male, std::vector < bool > ({ true, false, true }));	// C is not named: unchanged
	EXPECT_TRUE(has(log, "  * 2 individuals with sex specified\n  * 2 individuals with unspecified sex (assuming female!)\n")) << log;
	d.write("sex", "A 1\nB 2 extra\n");
	EXPECT_LOG_ERROR(S.G.readSex(d.file("sex")), "Line=1 found=3 fields, expected 2");
	EXPECT_LOG_ERROR(S.G.readSex(d.file("absent")), "Impossible to open file \\[.*/absent\\]");

	// A scaffold of columns S2, an unknown sample, S1; the second line has its alleles swapped, its digits inverted.
	flippable = 1;
	Store T;
	T.G.putSnp("1", 100, "A", "C", 3);
	T.G.putSnp("1", 200, "A", "T", 3);
	T.G.sites->indexing();
	fill(T.G, { "S1", "S2", "S3" }, { "00 00", ".. ..", "11 11" });
	writeFiles(d, { { "s.sample", "ID_1 ID_2 missing\n0 0 0\nf S2 0\nf absent 0\nf S1 0\n" }, { "s.haps", "1 r1 100 A C 1 0 1 1 0 1\n1 r2 200 T A 0 1 1 1 0 1\n" } });
	T.G.readScaffoldImpute(d.file("s.haps"), d.file("s.sample"));
	EXPECT_EQ(allGenotypes(T.G), "01 10 | 10 10 | 11 11");
	EXPECT_TRUE(T.G.scaffold[0] == std::vector < bool > ({ true, true }) && T.G.scaffold[1] == T.G.scaffold[0] && T.G.scaffold[2].empty());
}
