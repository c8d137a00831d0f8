#include "containers/genhap_set/genhap_set.h"
#include "objects/genotype_graph_test_utils.h"
#include "objects/haplotype_pairs.h"
#include "test_utils.h"
#include "utils/putils.h"
#include "utils/sutils.h"

#include <cmath>
#include <map>

using testutils::TempDir;

namespace {

chaplotype bits(const std::string & s) {
	std::vector < bool > v;
	for (char c : s) v.push_back(c == '1');
	return chaplotype(v);
}

genotype_graph * record(int type, std::string child, std::string father, std::string mother) {
	genotype_graph * g = new genotype_graph(type, 0);
	std::vector < std::string > none;
	g->pushChild(child, 0, none);
	g->pushFather(father, true, 1, none);
	g->pushMother(mother, true, 2, none);
	return g;
}

}

// Over window sites 1 and 3, one record of each type: haplotypes that differ only outside the
// window are one entry; an unrelated's (a, b) and (b, a) are one combination, a duo's are
// two. Probabilities per individual, frequencies over all haplotype slots, and both files.
TEST(haplotype_pairs, CountsNormalisesAndWrites) {
	TempDir d;
	std::string id = d.file("w1");
	std::vector < int > sites = { 1, 3 };
	haplotype_pairs W(id, sites, 4);
	chaplotype A = bits("0100"), B = bits("0001"), Z = bits("0000"), Y = bits("1010"), X = bits("1111");
	W.addP(0, A, B);
	W.addP(0, B, A);
	W.addP(0, A, A);
	W.addP(1, Z);
	W.addP(1, Y);
	W.addP(2, A, B, Z);
	W.addP(2, B, A, Z);
	for (int r = 0 ; r < 3 ; r ++) W.addP(3, A, B, Z, X);

	chaplotype V = bits("1101");
	EXPECT_EQ(W.findH(Y), 2);
	EXPECT_TRUE(W.findH(V) == 3 && W.H == (std::vector < std::vector < bool > > { { 1, 0 }, { 0, 1 }, { 0, 0 }, { 1, 1 } }));
	typedef std::vector < std::vector < int > > combos;
	EXPECT_EQ(W.C, (std::vector < combos > { { { 0, 1 }, { 0, 0 } }, { { 2 } }, { { 0, 1, 2 }, { 1, 0, 2 } }, { { 0, 1, 2, 3 } } }));
	EXPECT_TRUE(W.P[0] == std::vector < float > ({ 2, 1 }) && W.P[3] == std::vector < float > ({ 3 }));

	W.normaliseProbs();
	W.computeFrequencies();
	EXPECT_NEAR(W.F[0] + W.F[1] + W.F[2] + W.F[3], 1.0, 1e-6);
	genhap_set GH;
	GH.vecG = { record(2, "U", "0", "0"), record(1, "H", "0", "0"), record(3, "C", "F", "0"), record(4, "K", "P", "M") };
	W.writePairs(GH.vecG);
	W.writeFreqs();
	EXPECT_EQ(testutils::readCompressed(id + ".pairs.gz"),
		"0 2 U 0 0 0 0.66667 0 1\n0 2 U 0 0 1 0.33333 0 0\n1 1 H 0 0 0 1.00000 2\n"
		"2 3 C F 0 0 0.50000 0 1 2\n2 3 C F 0 1 0.50000 1 0 2\n3 4 K P M 0 1.00000 0 1 2 3\n");
	// Slots: 2 + 1 + 3 + 4; haplotype 00 holds 1 of the haploid, 1 of the duo, 1 of the trio.
	EXPECT_EQ(testutils::readCompressed(id + ".freqs.gz"), "0 10 0.333333\n1 01 0.266667\n2 00 0.3\n3 11 0.1\n");

	// Nothing sampled: both files exist and are empty.
	std::string empty_id = d.file("w0");
	haplotype_pairs E(empty_id, sites, 4);
	E.normaliseProbs();
	E.computeFrequencies();
	E.writePairs(GH.vecG);
	E.writeFreqs();
	EXPECT_EQ(testutils::readCompressed(empty_id + ".pairs.gz"), "");
	EXPECT_EQ(testutils::readCompressed(empty_id + ".freqs.gz"), "");
}

// A window takes any number of distinct haplotypes, indices past 255 included.
TEST(haplotype_pairs, ManyDistinctHaplotypes) {
	std::string id = "w";
	std::vector < int > sites = { 0, 1, 2, 3, 4, 5, 6, 7, 8 };
	haplotype_pairs W(id, sites, 1);
	std::vector < chaplotype > H;
	for (int v = 0 ; v < 300 ; v ++) {
		std::string s;
		for (int b = 0 ; b < 9 ; b ++) s += (v >> b) & 1 ? '1' : '0';
		H.push_back(bits(s));
	}
	for (int v = 0 ; v < 300 ; v ++) W.addP(0, H[v]);
	EXPECT_EQ(W.H.size(), 300u);
	EXPECT_EQ(W.C[0].back(), std::vector < int > { 299 });
}

// Pairs sampled from a small unrelated graph with random weights are tabulated with the
// chances that the enumeration of its paths gives, the walk going either way with chance 1/2.
TEST(haplotype_pairs, SampledPairsApproachTheirChances) {
	putils::initRandom(11);
	std::vector < bool > G0 = { 1, 0, 1, 1 }, G1 = { 0, 1, 0, 1 }, M = { 0, 0, 0, 0 };
	genotype_graph g(2, 0);
	g.buildUnr(G0, G1, M);
	for (float & p : g.probs) p = 0.05 + pow(putils::getRandom(), 2);
	std::vector < int > idx = { 0, 1 };
	std::vector < chaplotype > H(2, chaplotype(4));
	auto key = [](const std::vector < bool > & a, const std::vector < bool > & b) {
		std::string x = sutils::bool2str(a), y = sutils::bool2str(b);
		return std::min(x, y) + "|" + std::max(x, y);
	};
	std::map < std::string, double > expected;
	std::function < double (int, int) > W = [&](int k, int t) { return (double)g.probs[g.probsI[k] + t]; };
	graphtest::allPaths(g, [&](std::vector < int > & path) {
		g.buildGuesses(H, idx, path);
		std::vector < bool > a, b;
		for (int l = 0 ; l < 4 ; l ++) { a.push_back(H[0][l]); b.push_back(H[1][l]); }
		expected[key(a, b)] += 0.5 * graphtest::walkChance(g, path, false, W) + 0.5 * graphtest::walkChance(g, path, true, W);
	});
	ASSERT_GE(expected.size(), 4u);

	std::string id = "unused";
	std::vector < int > sites = { 0, 1, 2, 3 };
	haplotype_pairs T(id, sites, 1);
	const int n = 8000;
	for (int r = 0 ; r < n ; r ++) {
		g.sample(H, idx, false);
		T.addP(0, H[0], H[1]);
	}
	T.normaliseProbs();
	double total = 0.0;
	for (unsigned int k = 0 ; k < T.C[0].size() ; k ++) {
		std::string pair = key(T.H[T.C[0][k][0]], T.H[T.C[0][k][1]]);
		ASSERT_TRUE(expected.count(pair)) << pair;
		double e = expected[pair];
		EXPECT_NEAR(T.P[0][k], e, 4.5 * sqrt(e * (1 - e) / n) + 1e-3) << pair;
		total += T.P[0][k];
	}
	EXPECT_NEAR(total, 1.0, 1e-5);
	EXPECT_EQ(T.C[0].size(), expected.size());
}
