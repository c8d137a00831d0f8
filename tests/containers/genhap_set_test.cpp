#include "containers/genhap_set_test_utils.h"
#include "input/filter_reader.h"
#include "input/haplotype_reader.h"
#include "test_utils.h"
#include "modes/sorvane.h"

using genhaptest::Member;
using genhaptest::Study;

// Unrelated u (haplotypes 0, 1), duo d of mother m2 (2 .. 4), trio c of a founder father f and a mother m
// (5 .. 8), haploid h (9), unrelated m2 (10, 11); the duo, the haploid and m2 form family 2.
static const std::vector < Member > FAMILIES = { { 2, 1, "u" }, { 3, 2, "d", "0", false, "m2" }, { 4, 3, "c", "f", true, "m" }, { 1, 2, "h" }, { 2, 2, "m2" } };

// Each member's haplotypes land on the unit's tracks, the swapped site at 200 inverted, 150 not in the set.
TEST(genhap_set, GivenHaplotypesOnTheTracks) {
	flippable = 1;
	testutils::silenceLog();
	Study U(FAMILIES, 2);
	filter_reader F;
	haplotype_reader H(F);
	for (auto s : { std::make_pair(100, "A"), std::make_pair(150, "A"), std::make_pair(200, "C") }) H.sites->put(new snp("1", s.first, s.second, s.second[0] == 'A' ? "C" : "A", 7));
	H.sites->indexing();
	H.ind_id = { "u", "d", "m2", "c", "f", "m", "h" };
	for (unsigned int i = 0 ; i < H.ind_id.size() ; i ++) H.ind_index[H.ind_id[i]] = i;
	H.hap0 = { { 1, 1, 1 }, { 0, 1, 0 }, { 1, 0, 1 }, { 1, 0, 0 }, { 0, 0, 1 }, { 0, 1, 1 }, { 1, 1, 0 } };
	H.hap1 = { { 0, 0, 1 }, { 1, 0, 1 }, { 0, 1, 0 }, { 0, 1, 1 }, { 1, 1, 0 }, { 1, 0, 0 }, { 0, 0, 0 } };
	U.GH.initialise(H);
	// u0 u1 | d0 m2-1 d1 | c0 f1 m1 c1 | h0 | m2-0 m2-1
	const std::vector < std::string > expected = { "10", "00", "01", "01", "10", "11", "11", "11", "00", "11", "10", "01" };
	for (unsigned int h = 0 ; h < 12 ; h ++) EXPECT_EQ(U.GH.vecH[h].toString(), expected[h]) << h;
}

// Missing sites take alleles drawn from the frequency among the units observed there: all 0 (or 1) fills with 0 (1).
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
