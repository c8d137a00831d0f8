#include "objects/genotype_graph.h"
#include "objects/genotype_graph_test_utils.h"
#include "utils/putils.h"

#include <functional>
#include <gtest/gtest.h>

using graphtest::fault;
typedef std::vector < unsigned int > counts;

namespace {

// Genotypes '0', '1', '2' (copies of the second allele), '.' missing; 'h' is a heterozygote
// stored as (1, 0). One vector per allele and one of missing bits.
std::vector < std::vector < bool > > geno(const std::string & s) {
	std::vector < std::vector < bool > > v(3);
	for (char c : s) {
		v[0].push_back(c == '2' || c == 'h');
		v[1].push_back(c == '2' || c == '1');
		v[2].push_back(c == '.');
	}
	return v;
}

genotype_graph unrelated(const std::string & s, const std::string & scaffold = "") {
	genotype_graph g(2, 0);
	std::vector < std::vector < bool > > x = geno(s);
	std::vector < bool > S;
	for (char c : scaffold) S.push_back(c == '1');
	if (scaffold.empty()) g.buildUnr(x[0], x[1], x[2]);
	else g.buildUnr(x[0], x[1], x[2], S);
	EXPECT_EQ(fault(g, s.size()), "") << s;
	return g;
}

}

// A segment closes at the first site that would give it 9 fragments, or 11 states (33 when
// ordered): 3 heterozygous sites, or 2 missing ones, or 1 missing site of a trio.
TEST(genotype_graph_build, SegmentLimits) {
	struct { std::string geno, scaffold; counts HapsS, probsC; } cases[] = {
		{ "0022002", "", { 7 }, { 1, 1 } },
		// The homozygous run before the fourth heterozygote stays in the first segment;
		// between the segments, each of 4 unordered states goes to (0, 1) and to (1, 0).
		{ "01h02001210", "", { 9, 2 }, { 4, 8, 1 } },
		{ "01h02001210", "00000000000", { 9, 2 }, { 8, 16, 2 } },
		// A scaffold bit keeps a heterozygote's order.
		{ "1h1", "010", { 3 }, { 4, 4 } },
		{ ".", "", { 1 }, { 3, 3 } },
		{ ".", "0", { 1 }, { 4, 4 } },
		{ "..", "", { 2 }, { 10, 10 } },
		{ "...", "", { 2, 1 }, { 10, 10 * 3 + 6 * 1, 3 } },
		{ "...", "000", { 2, 1 }, { 16, 64, 4 } },
	};
	for (auto & c : cases) {
		genotype_graph g = unrelated(c.geno, c.scaffold);
		EXPECT_EQ(g.HapsS, c.HapsS) << c.geno << " " << c.scaffold;
		EXPECT_EQ(g.probsC, c.probsC) << c.geno << " " << c.scaffold;
	}
	genotype_graph hom = unrelated("0022002"), four = unrelated("01h02001210");
	EXPECT_TRUE(hom.phased());
	EXPECT_EQ(hom.probs, std::vector < float > ({ 1.0f, 1.0f }));
	EXPECT_EQ(std::vector < unsigned char > (four.trans.begin() + 8, four.trans.begin() + 12), std::vector < unsigned char > ({ 0x00, 0x11, 0x10, 0x01 }));
	// A scaffold bit on a homozygous or missing site changes nothing.
	EXPECT_EQ(graphtest::dump(unrelated(".2.", "111")), graphtest::dump(unrelated(".2.", "000")));

	// Trio sites: all missing (16 states on 2 fragments, so a second one closes the segment),
	// a Mendel error (child 2 of parents 0 and 2, open to all 16), homozygous (nothing new).
	auto F = geno("..00"), M = geno("..20"), C = geno("..20");
	genotype_graph trio(4, 0);
	EXPECT_EQ(trio.buildTrio(F[0], F[1], F[2], M[0], M[1], M[2], C[0], C[1], C[2]), 3);
	EXPECT_EQ(fault(trio, 4), "");
	EXPECT_EQ(trio.HapsS, counts({ 1, 1, 2 }));
	EXPECT_EQ(trio.probsC, counts({ 16, 256, 256, 16 }));
	EXPECT_EQ(trio.Ambs, std::vector < bool > ({ 1, 1, 1, 0 }));
	EXPECT_EQ(trio.Miss, std::vector < bool > ({ 1, 1, 0, 0 }));

	// Leaving a segment where both tracks have the same fragment takes one coin flip.
	genotype_graph flip = unrelated("...");
	std::vector < chaplotype > H(2, chaplotype(3));
	std::vector < int > indexes = { 0, 1 }, path = { 0, 0, 0 };
	putils::initRandom(5);
	flip.buildGuesses(H, indexes, path);
	double next = putils::getRandom();
	putils::initRandom(5);
	putils::getRandom();
	EXPECT_EQ(putils::getRandom(), next);
}

// Over all paths of small random graphs of each kind, the tracks that buildGuesses spells
// are exactly the allele combinations that the genotypes allow site by site. An unordered
// pair has no phase across a segment where both tracks are equal (a coin decides there), so
// it is compared as the unordered pairs of the blocks that such segments end.
TEST(genotype_graph_build, PathsSpellExactlyTheGenotypes) {
	putils::initRandom(12345);
	// Per kind (haploid, unrelated, scaffolded, duo, trio): the tracks of each member's genotype.
	const std::vector < std::vector < int > > members[5] = { { { 0, 0 } }, { { 0, 1 } }, { { 0, 1 } }, { { 0, 1 }, { 0, 2 } }, { { 0, 1 }, { 2, 3 }, { 0, 3 } } };
	int tested = 0;
	for (int kind = 0 ; kind < 5 ; kind ++) for (int round = 0 ; round < 40 ; round ++) {
		const int n = kind < 2 ? kind + 1 : kind, K = members[kind].size(), L = 3 + putils::getRandom(n < 3 ? 12 : 6);
		// Genotypes summed from random tracks, some missing and some children changed.
		std::vector < std::vector < bool > > A0(K, std::vector < bool > (L)), A1 = A0, AM = A0;
		std::vector < bool > S(L);
		std::vector < std::vector < int > > options(L);
		size_t product = 1;
		int mendel = 0;
		for (int l = 0 ; l < L ; l ++) {
			int u[4] = { putils::getRandom() < 0.3, putils::getRandom() < 0.3, putils::getRandom() < 0.3, putils::getRandom() < 0.3 }, v[4];
			for (int k = 0 ; k < K ; k ++) {
				AM[k][l] = putils::getRandom() < 0.12;
				A0[k][l] = !AM[k][l] && u[members[kind][k][0]];
				A1[k][l] = !AM[k][l] && u[members[kind][k][1]];
				if (n > 2 && k == K - 1 && !AM[k][l] && putils::getRandom() < 0.1) A0[k][l] = A1[k][l] = putils::getRandom() < 0.5;
			}
			S[l] = putils::getRandom() < 0.5;
			for (int c = 0 ; c < (1 << n) ; c ++) {
				bool ok = true;
				for (int j = 0 ; j < n ; j ++) v[j] = (c >> (n - 1 - j)) & 1;
				for (int k = 0 ; k < K ; k ++) ok = ok && (AM[k][l] || v[members[kind][k][0]] + v[members[kind][k][1]] == A0[k][l] + A1[k][l]);
				if (kind == 2 && S[l] && !AM[0][l]) ok = ok && v[0] == A0[0][l] && v[1] == A1[0][l];
				if (ok) options[l].push_back(c);
			}
			// A Mendel error opens the site: its known genotypes count as set missing.
			if (options[l].empty()) {
				for (int k = 0 ; k < K ; k ++) mendel += !AM[k][l];
				for (int c = 0 ; c < (1 << n) ; c ++) options[l].push_back(c);
			}
			product *= options[l].size();
		}
		if (product > 5000) continue;
		tested ++;

		genotype_graph g(n, round);
		int errors;
		if (kind == 0) errors = g.buildHap(A0[0], AM[0]);
		else if (kind == 1) errors = g.buildUnr(A0[0], A1[0], AM[0]);
		else if (kind == 2) errors = g.buildUnr(A0[0], A1[0], AM[0], S);
		else if (kind == 3) errors = g.buildDuo(A0[0], A1[0], AM[0], A0[1], A1[1], AM[1]);
		else errors = g.buildTrio(A0[0], A1[0], AM[0], A0[1], A1[1], AM[1], A0[2], A1[2], AM[2]);
		SCOPED_TRACE("kind " + std::to_string(kind) + " round " + std::to_string(round));
		ASSERT_EQ(fault(g, L), "");
		EXPECT_EQ(errors, mendel);
		for (int l = 0 ; l < L ; l ++) EXPECT_EQ(g.Ambs[l], options[l].size() > 1 || (kind == 2 && A0[0][l] != A1[0][l]));

		auto spell = [&](const std::vector < int > & alleles) {
			std::vector < std::string > t(n, std::string(L, '0'));
			for (int j = 0 ; j < n ; j ++) for (int l = 0 ; l < L ; l ++) t[j][l] += (alleles[l] >> (n - 1 - j)) & 1;
			std::string x;
			for (unsigned int s = 0, start = 0, end = 0 ; s < g.HapsS.size() ; s ++) {
				end += g.HapsS[s];
				if (kind == 1 && s + 1 < g.HapsS.size() && t[0].compare(end - g.HapsS[s], g.HapsS[s], t[1], end - g.HapsS[s], g.HapsS[s])) continue;
				std::vector < std::string > block;
				for (const std::string & h : t) block.push_back(h.substr(start, end - start));
				if (kind == 1) std::sort(block.begin(), block.end());
				for (const std::string & b : block) x += b + "/";
				x += "|";
				start = end;
			}
			return x;
		};
		std::set < std::string > wanted, found;
		std::vector < int > pick(L);
		std::function < void(int) > enumerate = [&](int l) {
			if (l == L) return (void)wanted.insert(spell(pick));
			for (int c : options[l]) { pick[l] = c; enumerate(l + 1); }
		};
		enumerate(0);

		// Every path of linked transitions, the tracks written to H in reverse order.
		std::vector < chaplotype > H(4, chaplotype(L));
		std::vector < int > indexes = { 3, 2, 1, 0 }, path(g.probsI.size());
		indexes.erase(indexes.begin(), indexes.begin() + 4 - n);
		std::function < void(unsigned int) > walk = [&](unsigned int k) {
			if (k == path.size()) {
				g.buildGuesses(H, indexes, path);
				for (int l = 0 ; l < L ; l ++) for (int j = 0 ; j < n ; j ++) pick[l] = (j ? pick[l] : 0) + (H[indexes[j]][l] << (n - 1 - j));
				return (void)found.insert(spell(pick));
			}
			for (path[k] = 0 ; path[k] < (int)g.probsC[k] ; path[k] ++)
				if (k == 0 || g.linked((g.probsI[k - 1] + path[k - 1]) * n, (g.probsI[k] + path[k]) * n)) walk(k + 1);
		};
		walk(0);
		EXPECT_EQ(found, wanted);
	}
	EXPECT_GT(tested, 150);
}
