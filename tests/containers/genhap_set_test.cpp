#include "containers/genhap_set_test_utils.h"
#include "input/filter_reader.h"
#include "input/genotype_test_utils.h"
#include "input/haplotype_reader.h"
#include "input/reference_reader.h"
#include "modes/sorvane.h"

using genhaptest::Member;
using genhaptest::Study;

namespace {

// Unrelated u (haplotypes 0, 1), duo d of mother m2 (2 .. 4), trio c of a founder father f
// and a mother m (5 .. 8), haploid h (9), unrelated m2 (10, 11); the duo, the haploid and m2
// form family 2.
const std::vector < Member > FAMILIES = { { 2, 1, "u" }, { 3, 2, "d", "0", false, "m2" }, { 4, 3, "c", "f", true, "m" }, { 1, 2, "h" }, { 2, 2, "m2" } };

}

// Tracks of each unit, families, founders; own, father's and mother's haplotypes land on the
// tracks of each kind of unit, the swapped site at 200 read inverted, the site at 150 only
// counted; panel haplotypes follow, a male's one on chromosome X.
TEST(genhap_set, LayoutGivenHaplotypesAndPanel) {
	flippable = 1;
	Study U(FAMILIES, 2);
	genhap_set & GH = U.GH;
	EXPECT_EQ(GH.ind2hap, std::vector < std::vector < int > > ({ { 0, 1 }, { 2, 3, 4 }, { 5, 6, 7, 8 }, { 9 }, { 10, 11 } }));
	EXPECT_EQ(GH.hap2ind, std::vector < int > ({ 0, 0, 1, 1, 1, 2, 2, 2, 2, 3, 4, 4 }));
	EXPECT_EQ(GH.hap_names[4] + GH.hap_names[8] + GH.hap_names[11], "dcm2");
	EXPECT_EQ(GH.relatives, std::vector < std::vector < int > > ({ { 0 }, { 1, 3, 4 }, { 2 }, { 1, 3, 4 }, { 1, 3, 4 } }));
	// The duo's child track is open without founder parents; only the trio's father is a founder.
	EXPECT_EQ(GH.founder_mask, std::vector < bool > ({ 1, 1, 0, 0, 1, 1, 1, 0, 0, 1, 1, 1 }));
	for (genotype_graph * g : GH.vecG) {
		g->HapsC = { 2, 1 };
		g->probsC = { 2, 3, 1 };
	}
	GH.vecG[0]->scaffolded = true;
	filter_reader F;
	haplotype_reader H(F);
	for (auto s : { std::make_pair(100, "A"), std::make_pair(150, "A"), std::make_pair(200, "C") }) H.sites->put(new snp("1", s.first, s.second, s.second[0] == 'A' ? "C" : "A", 7));
	H.sites->indexing();
	H.ind_id = { "u", "d", "m2", "c", "f", "m", "h" };
	for (unsigned int i = 0 ; i < H.ind_id.size() ; i ++) H.ind_index[H.ind_id[i]] = i;
	H.hap0 = { { 1, 1, 1 }, { 0, 1, 0 }, { 1, 0, 1 }, { 1, 0, 0 }, { 0, 0, 1 }, { 0, 1, 1 }, { 1, 1, 0 } };
	H.hap1 = { { 0, 0, 1 }, { 1, 0, 1 }, { 0, 1, 0 }, { 0, 1, 1 }, { 1, 1, 0 }, { 1, 0, 0 }, { 0, 0, 0 } };
	testutils::TempDir d;
	std::string log = genotest::logOf(d, [&] { GH.initialise(H); GH.summarise(); });
	// u0 u1 | d0 m2-1 d1 | c0 f1 m1 c1 | h0 | m2-0 m2-1
	const std::vector < std::string > expected = { "10", "00", "01", "01", "10", "11", "11", "11", "00", "11", "10", "01" };
	for (unsigned int h = 0 ; h < 12 ; h ++) EXPECT_EQ(GH.vecH[h].toString(), expected[h]) << h;
	EXPECT_EQ(log, "\nMapping sites and samples of the haplotype set\n  * 2 sites found\n  * 1 sites not found\n"
		"  * 5 graphs / 10 segments / ~1 SNPs per segment / 30 transitions\n  * 1 haploids / 2 unrelateds / 1 duos / 1 trios\n"
		"  * 1 individuals are scaffolded\n  * 8 founder haplotypes\n");
	H.ind_index.erase("m");
	EXPECT_LOG_ERROR(GH.initialise(H), "m unfound in the haplotype set!");

	for (bool chrX : { false, true }) {
		Study P(FAMILIES, 2);
		reference_reader R(F, &P.S);
		R.ind_id = { "r1", "r2" };
		R.ind_male = { true, false };
		R.hap0 = { { 1, 0 }, { 0, 1 } };
		R.hap1 = { { 1, 1 }, { 0, 0 } };
		P.GH.initialise(R, chrX);
		std::vector < std::string > panel = { "10", "11", "01", "00" };
		if (chrX) panel.erase(panel.begin() + 1);
		ASSERT_EQ(P.GH.vecH.size(), 12 + panel.size());
		for (unsigned int k = 0 ; k < panel.size() ; k ++) EXPECT_EQ(P.GH.vecH[12 + k].toString(), panel[k]);
		std::vector < bool > reference(12, false);
		reference.resize(P.GH.vecH.size(), true);
		EXPECT_TRUE(P.GH.reference_mask == reference && P.GH.founder_mask.size() == P.GH.vecH.size() && P.GH.n_reference == (int)panel.size());
	}
}

// Missing sites take alleles drawn from the frequency among the units that are not missing
// there: a site where every observed allele is 0 (or 1) fills with 0 (or 1).
TEST(genhap_set, MissingSitesFilledByAlleleFrequency) {
	testutils::silenceLog();
	putils::initRandom(11);
	Study U(FAMILIES, 3);
	genhap_set & GH = U.GH;
	for (genotype_graph * g : GH.vecG) g->Miss = std::vector < bool > (3, false);
	GH.vecG[0]->Miss[0] = GH.vecG[2]->Miss[1] = true;
	for (unsigned int h = 0 ; h < GH.vecH.size() ; h ++) U.set(h, h % 2 ? "011" : "010");
	GH.vecH[0].set(0, true);	// missing: its own value does not count
	GH.vecH[5].set(1, false);
	GH.initialise();
	for (unsigned int h = 0 ; h < GH.vecH.size() ; h ++) EXPECT_EQ(GH.vecH[h].toString(), h % 2 ? "011" : "010") << h;
}
