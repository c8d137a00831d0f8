#include "objects/genotype_graph_test_utils.h"
#include "objects/haplotype_pairs.h"
#include "test_utils.h"

using graphtest::named;

// Window sites 1 and 3: haplotypes differing only outside it are one entry; an unrelated's (a, b) and (b, a) one
// combination, a duo's two. Frequencies over all haplotype slots; with nothing sampled both files are empty.
TEST(haplotype_pairs, CountsNormalisesAndWrites) {
	testutils::TempDir d;
	std::string id = d.file("w1"), empty_id = d.file("w0");
	std::vector < int > sites = { 1, 3 };
	haplotype_pairs W(id, sites, 4), E(empty_id, sites, 4);
	chaplotype A({ 0, 1, 0, 0 }), B({ 0, 0, 0, 1 }), Z({ 0, 0, 0, 0 }), Y({ 1, 0, 1, 0 }), X({ 1, 1, 1, 1 }), V({ 1, 1, 0, 1 });
	W.addP(0, A, B);
	W.addP(0, B, A);
	W.addP(0, A, A);
	W.addP(1, Z);
	W.addP(1, Y);
	W.addP(2, A, B, Z);
	W.addP(2, B, A, Z);
	for (int r = 0 ; r < 3 ; r ++) W.addP(3, A, B, Z, X);
	EXPECT_TRUE(W.findH(Y) == 2 && W.findH(V) == 3 && W.H == (std::vector < std::vector < bool > > { { 1, 0 }, { 0, 1 }, { 0, 0 }, { 1, 1 } }));
	typedef std::vector < std::vector < int > > combos;
	EXPECT_EQ(W.C, (std::vector < combos > { { { 0, 1 }, { 0, 0 } }, { { 2 } }, { { 0, 1, 2 }, { 1, 0, 2 } }, { { 0, 1, 2, 3 } } }));
	EXPECT_TRUE(W.P[0] == std::vector < float > ({ 2, 1 }) && W.P[3] == std::vector < float > ({ 3 }));
	genotype_graph G[4] = { named(2, 0, "U", "0", true, "0", true), named(1, 0, "H", "0", true, "0", true), named(3, 0, "C", "F", true, "0", true), named(4, 0, "K", "P", true, "M", true) };
	for (haplotype_pairs * x : { &W, &E }) {
		x->normaliseProbs();
		x->computeFrequencies();
		x->writePairs({ &G[0], &G[1], &G[2], &G[3] });
		x->writeFreqs();
	}
	EXPECT_EQ(testutils::readCompressed(id + ".pairs.gz"),
		"0 2 U 0 0 0 0.66667 0 1\n0 2 U 0 0 1 0.33333 0 0\n1 1 H 0 0 0 1.00000 2\n"
		"2 3 C F 0 0 0.50000 0 1 2\n2 3 C F 0 1 0.50000 1 0 2\n3 4 K P M 0 1.00000 0 1 2 3\n");
	// Slots: 2 + 1 + 3 + 4; haplotype 00 holds 1 of the haploid, 1 of the duo, 1 of the trio.
	EXPECT_EQ(testutils::readCompressed(id + ".freqs.gz"), "0 10 0.333333\n1 01 0.266667\n2 00 0.3\n3 11 0.1\n");
	EXPECT_EQ(testutils::readCompressed(empty_id + ".pairs.gz") + testutils::readCompressed(empty_id + ".freqs.gz"), "");
}
