#include "containers/genhap_set/genhap_set.h"
#include "input/genotype_test_utils.h"
#include "modes/sorvane.h"
#include "utils/putils.h"

#include <memory>

using genotest::logOf;
using testutils::TempDir;

namespace {

// Sites at 100, 200, ... with alleles A/C.
std::unique_ptr < snp_set > makeSites(int n) {
	std::unique_ptr < snp_set > S(new snp_set());
	for (int l = 0 ; l < n ; l ++) S->put(new snp("1", 100 * (l + 1), "A", "C", 3));
	S->indexing();
	return S;
}

genotype_graph * unit(int type, int famID, std::string child, std::string father = "0", bool fmain = false, std::string mother = "0", bool mmain = false) {
	genotype_graph * g = new genotype_graph(type, famID);
	std::vector < std::string > p;
	g->pushChild(child, 0, p);
	g->pushFather(father, fmain, 1, p);
	g->pushMother(mother, mmain, 2, p);
	return g;
}

// Graphs 0 .. 4: unrelated u (haplotypes 0, 1), duo d of mother m2 (2 .. 4), trio c of a
// founder father f and a mother m (5 .. 8), haploid h (9), unrelated m2 (10, 11); the duo,
// the haploid and m2 form family 2.
std::vector < genotype_graph * > fiveUnits() {
	return { unit(2, 1, "u"), unit(3, 2, "d", "0", false, "m2"), unit(4, 3, "c", "f", true, "m", false), unit(1, 2, "h"), unit(2, 2, "m2") };
}

std::string bits(const chaplotype & h) { return h.toString(); }

}

TEST(genhap_set, LayoutOfGraphsAndPanel) {
	for (bool chrX : { false, true }) {
		std::unique_ptr < snp_set > S = makeSites(3);
		std::vector < genotype_graph * > graphs = fiveUnits();
		genhap_set GH;
		GH.initialise(graphs, S.get());
		EXPECT_EQ(GH.ind2hap, std::vector < std::vector < int > > ({ { 0, 1 }, { 2, 3, 4 }, { 5, 6, 7, 8 }, { 9 }, { 10, 11 } }));
		EXPECT_EQ(GH.hap2ind, std::vector < int > ({ 0, 0, 1, 1, 1, 2, 2, 2, 2, 3, 4, 4 }));
		EXPECT_EQ(GH.hap_names[4] + GH.hap_names[8] + GH.hap_names[11], "dcm2");
		EXPECT_EQ(GH.relatives, std::vector < std::vector < int > > ({ { 0 }, { 1, 3, 4 }, { 2 }, { 1, 3, 4 }, { 1, 3, 4 } }));
		// The duo meets itself as a child of m2 and under its own name, then m2 itself.
		EXPECT_EQ(GH.kin_haps[1], std::vector < int > ({ 2, 3, 2, 4, 10, 11 }));
		EXPECT_EQ(GH.kin_haps[4], std::vector < int > ({ 2, 3, 10, 11 }));
		EXPECT_EQ(GH.kin_haps[2], std::vector < int > ({ 5, 6, 7, 8, 5, 8 }));
		// The duo's child track stays open without founder parents; only the trio's father is a founder.
		EXPECT_EQ(GH.founder_mask, std::vector < bool > ({ 1, 1, 0, 0, 1, 1, 1, 0, 0, 1, 1, 1 }));
		EXPECT_EQ(GH.n_founder, 8);
		EXPECT_EQ(GH.reference_mask, std::vector < bool > (12, false));
		EXPECT_EQ(bits(GH.vecH[7]), "000");

		filter_reader F;
		reference_reader R(F, S.get());
		R.ind_id = { "r1", "r2" };
		R.ind_male = { true, false };
		R.hap0 = { { 1, 0, 0 }, { 0, 1, 0 } };
		R.hap1 = { { 1, 1, 0 }, { 0, 0, 1 } };
		GH.initialise(R, chrX);
		std::vector < std::string > panel = chrX ? std::vector < std::string > ({ "100", "010", "001" }) : std::vector < std::string > ({ "100", "110", "010", "001" });
		ASSERT_EQ(GH.vecH.size(), 12 + panel.size());
		for (unsigned int k = 0 ; k < panel.size() ; k ++) {
			EXPECT_EQ(bits(GH.vecH[12 + k]), panel[k]);
			EXPECT_TRUE(GH.reference_mask[12 + k] && GH.founder_mask[12 + k]);
		}
		EXPECT_EQ(GH.n_reference, (int)panel.size());
		EXPECT_EQ(GH.hap_names.back(), "r2");
		EXPECT_EQ(GH.founder_mask.size(), GH.vecH.size());
		EXPECT_EQ(GH.reference_mask.size(), GH.vecH.size());
	}
}

// Own, father's and mother's haplotypes land on the tracks of each kind of unit; a swapped
// site is read inverted and a site foreign to the study only counted.
TEST(genhap_set, GivenHaplotypesAndSummary) {
	testutils::silenceLog();
	flippable = 1;
	std::unique_ptr < snp_set > S = makeSites(2);
	std::vector < genotype_graph * > graphs = fiveUnits();
	genhap_set GH;
	GH.initialise(graphs, S.get());
	for (genotype_graph * g : graphs) {
		g->HapsC = { 2, 1 };
		g->probsC = { 2, 3, 1 };
	}
	graphs[0]->scaffolded = true;

	filter_reader F;
	haplotype_reader H(F);
	std::unique_ptr < snp_set > own(H.sites);
	H.sites->put(new snp("1", 100, "A", "C", 7));
	H.sites->put(new snp("1", 150, "A", "C", 7));
	H.sites->put(new snp("1", 200, "C", "A", 7));
	H.sites->indexing();
	// Per sample, its two haplotypes over the three sites.
	const std::vector < std::string > ids = { "u", "d", "m2", "c", "f", "m", "h" };
	const std::vector < std::vector < bool > > h0 = { { 1, 1, 1 }, { 0, 1, 0 }, { 1, 0, 1 }, { 1, 0, 0 }, { 0, 0, 1 }, { 0, 1, 1 }, { 1, 1, 0 } };
	const std::vector < std::vector < bool > > h1 = { { 0, 0, 1 }, { 1, 0, 1 }, { 0, 1, 0 }, { 0, 1, 1 }, { 1, 1, 0 }, { 1, 0, 0 }, { 0, 0, 0 } };
	for (unsigned int i = 0 ; i < ids.size() ; i ++) {
		H.ind_index[ids[i]] = i;
		H.ind_id.push_back(ids[i]);
	}
	H.hap0 = h0;
	H.hap1 = h1;

	TempDir d;
	std::string log = logOf(d, [&] { GH.initialise(H); GH.summarise(); });
	const std::vector < std::string > expected = { "10", "00", "01", "01", "10", "11", "11", "11", "00", "11", "10", "01" };
	for (unsigned int h = 0 ; h < 12 ; h ++) EXPECT_EQ(bits(GH.vecH[h]), expected[h]) << h;
	EXPECT_EQ(log, "\nMapping sites and samples of the haplotype set\n  * 2 sites found\n  * 1 sites not found\n"
		"  * 5 graphs / 10 segments / ~1 SNPs per segment / 30 transitions\n  * 1 haploids / 2 unrelateds / 1 duos / 1 trios\n"
		"  * 1 individuals are scaffolded\n  * 8 founder haplotypes\n");

	H.ind_index.erase("m");
	EXPECT_LOG_ERROR(GH.initialise(H), "m unfound in the haplotype set!");
}

// Missing haplotypes are drawn with the allele frequency of the observed ones at the site;
// a site missing everywhere gets allele 1.
TEST(genhap_set, MissingDataByAlleleFrequency) {
	testutils::silenceLog();
	putils::initRandom(12345);
	const int N = 400;
	std::unique_ptr < snp_set > S = makeSites(2);
	std::vector < genotype_graph * > graphs;
	for (int i = 0 ; i < N ; i ++) {
		graphs.push_back(unit(2, i, "s" + std::to_string(i)));
		graphs.back()->Miss = { i >= 100, true };
	}
	genhap_set GH;
	GH.initialise(graphs, S.get());
	// Observed: 100 individuals, a quarter of their haplotypes with allele 1.
	for (int h = 0 ; h < 200 ; h += 4) GH.vecH[h].set(0, true);
	GH.initialise();
	int n1 = 0;
	for (int h = 200 ; h < 2 * N ; h ++) n1 += GH.vecH[h][0];
	EXPECT_NEAR(n1 / 600.0, 0.25, 0.05);
	int observed = 0;
	for (int h = 0 ; h < 200 ; h ++) observed += GH.vecH[h][0];
	EXPECT_EQ(observed, 50);
	for (int h = 0 ; h < 2 * N ; h ++) EXPECT_EQ(GH.vecH[h][1], 1);
}
