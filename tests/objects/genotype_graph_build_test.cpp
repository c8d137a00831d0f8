#include "objects/genotype_graph.h"
#include "objects/genotype_graph_test_utils.h"
#include "utils/putils.h"

#include <functional>
#include <gtest/gtest.h>
#include <set>

using graphtest::fault;

namespace {

// Genotypes of one individual: '0', '1', '2' copies of the second allele, '.' missing;
// a heterozygote is stored as (0, 1), or as (1, 0) when written 'h'.
struct Geno {
	std::vector < bool > G0, G1, M;
	Geno(const std::string & s) {
		for (char c : s) {
			G0.push_back(c == '2' || c == 'h');
			G1.push_back(c == '2' || c == '1');
			M.push_back(c == '.');
		}
	}
};

std::vector < bool > bits(const std::string & s) {
	std::vector < bool > v;
	for (char c : s) v.push_back(c == '1');
	return v;
}

genotype_graph unrelated(const std::string & s, const std::string & scaffold = "") {
	genotype_graph g(2, 0);
	Geno x(s);
	std::vector < bool > S = bits(scaffold);
	if (scaffold.empty()) g.buildUnr(x.G0, x.G1, x.M);
	else g.buildUnr(x.G0, x.G1, x.M, S);
	EXPECT_EQ(fault(g, s.size()), "") << s;
	return g;
}

// Calls f on every path of linked transitions, given as indices within the groups.
void forEachPath(genotype_graph & g, const std::function < void(std::vector < int > &) > & f) {
	std::vector < int > path(g.probsI.size());
	std::function < void(unsigned int) > walk = [&](unsigned int k) {
		if (k == path.size()) return f(path);
		for (unsigned int t = 0 ; t < g.probsC[k] ; t ++) {
			if (k > 0 && !g.linked((g.probsI[k - 1] + path[k - 1]) * g.type, (g.probsI[k] + t) * g.type)) continue;
			path[k] = t;
			walk(k + 1);
		}
	};
	walk(0);
}

}

TEST(genotype_graph_build, UnrelatedSegments) {
	// No ambiguity at all: one segment, one path.
	genotype_graph hom = unrelated("0022002");
	EXPECT_EQ(hom.HapsS, std::vector < unsigned int > ({ 7 }));
	EXPECT_TRUE(hom.phased());
	EXPECT_EQ(hom.probs, std::vector < float > ({ 1.0f, 1.0f }));

	// Three heterozygous sites fill a segment (8 fragments, 4 unordered states); the fourth
	// opens the next one, the homozygous run before it staying in the first.
	genotype_graph four = unrelated("01h02001210");
	EXPECT_EQ(four.HapsS, std::vector < unsigned int > ({ 9, 2 }));
	EXPECT_EQ(four.HapsC, std::vector < unsigned int > ({ 8, 2 }));
	EXPECT_EQ(four.probsC, std::vector < unsigned int > ({ 4, 8, 1 }));
	EXPECT_FALSE(four.phased());
	EXPECT_EQ(four.Ambs, bits("01100001010"));
	// Both relative phases of the segments: (a, b) -> (0, 1) and (a, b) -> (1, 0).
	EXPECT_EQ(std::vector < unsigned char > (four.trans.begin() + 8, four.trans.begin() + 12), std::vector < unsigned char > ({ 0x00, 0x11, 0x10, 0x01 }));
	// With a scaffold the pairs are ordered: 8 states, a plain product of 8 x 2.
	genotype_graph ordered = unrelated("01h02001210", "00000000000");
	EXPECT_EQ(ordered.probsC, std::vector < unsigned int > ({ 8, 16, 2 }));
	// A scaffold bit on a heterozygous site keeps its order; on others it does nothing.
	EXPECT_EQ(unrelated("1h1", "010").probsC, std::vector < unsigned int > ({ 4, 4 }));
	EXPECT_EQ(graphtest::dump(unrelated(".2.", "111")), graphtest::dump(unrelated(".2.", "000")));

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

	// Missing sites: 2 fragments and 3 states (4 ordered), then 4 and 10; a third does not fit.
	struct { std::string geno, scaffold; std::vector < unsigned int > HapsC, probsC; } missing[] = {
		{ ".", "", { 2 }, { 3, 3 } },
		{ ".", "0", { 2 }, { 4, 4 } },
		{ "..", "", { 4 }, { 10, 10 } },
		{ "...", "", { 4, 2 }, { 10, 10 * 3 + 6 * 1, 3 } },
		{ "...", "000", { 4, 2 }, { 16, 64, 4 } },
	};
	for (auto & c : missing) {
		genotype_graph g = unrelated(c.geno, c.scaffold);
		EXPECT_EQ(g.HapsC, c.HapsC) << c.geno << " " << c.scaffold;
		EXPECT_EQ(g.probsC, c.probsC) << c.geno << " " << c.scaffold;
		EXPECT_EQ(g.Miss, bits(std::string(c.geno.size(), '1')));
	}
}

TEST(genotype_graph_build, FamilyCandidates) {
	struct { std::vector < int > g; std::vector < int > expected; } cases[] = {
		{ { -1, -1, -1, -1, -1, -1 }, { 0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15 } },
		{ { 0, 0, 1, 1, 1, 1 }, { } },
		{ { -1, -1, -1, -1, 0, 1 }, { 1, 3, 5, 7, 8, 10, 12, 14 } },
		{ { 0, 0, 0, 0, 0, 0 }, { 0 } },
		{ { 0, 1, 1, 1, 0, 1 }, { 7 } },
		{ { 0, 1, 0, 0 }, { 2 } },
		{ { 1, 1, -1, -1 }, { 6, 7 } },
		{ { 0, 1, 1, 1 }, { 5 } },
	};
	for (auto & c : cases) {
		std::vector < int > found;
		if (c.g.size() == 4) getCandidate(found, c.g[0], c.g[1], c.g[2], c.g[3]);
		else getCandidate(found, c.g[0], c.g[1], c.g[2], c.g[3], c.g[4], c.g[5]);
		EXPECT_EQ(found, c.expected) << ::testing::PrintToString(c.g);
	}
	EXPECT_TRUE(isCompatible(1, 1, 1, 1, -2, -2, -2));

	// Trio sites: all missing (16 states on 2 fragments, so a second one closes the segment),
	// a Mendel error (child 2 of parents 0 and 2, open to all 16), homozygous (nothing new).
	Geno F("..00"), M("..20"), C("..20");
	genotype_graph trio(4, 0);
	EXPECT_EQ(trio.buildTrio(F.G0, F.G1, F.M, M.G0, M.G1, M.M, C.G0, C.G1, C.M), 1);
	EXPECT_EQ(fault(trio, 4), "");
	EXPECT_EQ(trio.HapsS, std::vector < unsigned int > ({ 1, 1, 2 }));
	EXPECT_EQ(trio.HapsC, std::vector < unsigned int > ({ 2, 2, 2 }));
	EXPECT_EQ(trio.probsC, std::vector < unsigned int > ({ 16, 256, 256, 16 }));
	EXPECT_EQ(trio.Ambs, bits("1110"));
	EXPECT_EQ(trio.Miss, bits("1100"));

	// A duo whose parent is missing and child heterozygous (4 candidates), then a Mendel
	// error (8): 32 states still fit one segment.
	Geno P(".0"), K("12");
	genotype_graph duo(3, 0);
	EXPECT_EQ(duo.buildDuo(P.G0, P.G1, P.M, K.G0, K.G1, K.M), 1);
	EXPECT_EQ(fault(duo, 2), "");
	EXPECT_EQ(duo.probsC, std::vector < unsigned int > ({ 32, 32 }));
}

// Over all paths of small random graphs of each kind, the haplotypes that buildGuesses
// makes are exactly the allele combinations that the genotypes allow, site by site; for an
// unordered pair, exactly the unordered pairs.
TEST(genotype_graph_build, PathsSpellExactlyTheGenotypes) {
	putils::initRandom(12345);
	const char * kinds[] = { "haploid", "unrelated", "scaffolded", "duo", "trio" };
	// Per number of tracks, the two tracks whose alleles make each member's genotype.
	const int tracks[4][3][2] = { { { 0, 0 } }, { { 0, 1 } }, { { 0, 1 }, { 0, 2 } }, { { 0, 1 }, { 2, 3 }, { 0, 3 } } };
	int tested = 0;
	for (int kind = 0 ; kind < 5 ; kind ++) for (int round = 0 ; round < 40 ; round ++) {
		int n = kind < 2 ? kind + 1 : kind, members = n < 3 ? 1 : n - 1, L = 3 + putils::getRandom(n < 3 ? 12 : 6);
		std::vector < std::vector < bool > > A0(members, std::vector < bool > (L)), A1 = A0, AM = A0;
		std::vector < bool > S(L);
		std::vector < std::vector < int > > options(L);
		size_t product = 1;
		int mendel = 0;
		for (int l = 0 ; l < L ; l ++) {
			// Genotypes summed from random tracks, then some missing and some children wrong.
			int u[4];
			for (int & a : u) a = putils::getRandom() < 0.3;
			for (int k = 0 ; k < members ; k ++) {
				A0[k][l] = u[tracks[n - 1][k][0]];
				A1[k][l] = u[tracks[n - 1][k][1]];
				AM[k][l] = putils::getRandom() < 0.12;
				if (AM[k][l]) A0[k][l] = A1[k][l] = false;
				else if (n > 2 && k == members - 1 && putils::getRandom() < 0.1) A0[k][l] = A1[k][l] = putils::getRandom() < 0.5;
			}
			S[l] = putils::getRandom() < 0.5;
			for (int c = 0 ; c < (1 << n) ; c ++) {
				bool ok = true;
				for (int k = 0 ; k < members ; k ++) if (!AM[k][l]) {
					int t0 = tracks[n - 1][k][0], t1 = tracks[n - 1][k][1];
					int sum = ((c >> (n - 1 - t0)) & 1) + ((c >> (n - 1 - t1)) & 1);
					ok = ok && sum == A0[k][l] + A1[k][l];
					if (kind == 2 && S[l]) ok = ok && ((c >> 1) & 1) == A0[k][l] && (c & 1) == A1[k][l];
				}
				if (ok) options[l].push_back(c);
			}
			if (options[l].empty()) {
				mendel ++;
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
		SCOPED_TRACE(std::string(kinds[kind]) + " round " + std::to_string(round));
		ASSERT_EQ(fault(g, L), "");
		EXPECT_EQ(errors, mendel);
		for (int l = 0 ; l < L ; l ++) {
			bool missing = false;
			for (int k = 0 ; k < members ; k ++) missing = missing || AM[k][l];
			EXPECT_EQ(g.Miss[l], missing);
			EXPECT_EQ(g.Ambs[l], options[l].size() > 1 || (kind == 2 && A0[0][l] != A1[0][l]));
		}

		// Tracks spelled one after the other. An unordered pair has no phase across a segment
		// where both tracks are equal (buildGuesses flips a coin there): it is spelled as the
		// unordered pairs of the blocks that such segments end.
		auto spell = [&](const std::vector < int > & alleles) {
			std::vector < std::string > t(n, std::string(L, '0'));
			for (int j = 0 ; j < n ; j ++) for (int l = 0 ; l < L ; l ++) t[j][l] += (alleles[l] >> (n - 1 - j)) & 1;
			std::string x;
			if (kind != 1) {
				for (const std::string & h : t) x += h + "|";
				return x;
			}
			for (unsigned int s = 0, start = 0, end = 0 ; s < g.HapsS.size() ; s ++) {
				end += g.HapsS[s];
				if (t[0].compare(end - g.HapsS[s], g.HapsS[s], t[1], end - g.HapsS[s], g.HapsS[s]) && s + 1 < g.HapsS.size()) continue;
				std::string a = t[0].substr(start, end - start), b = t[1].substr(start, end - start);
				x += std::min(a, b) + "/" + std::max(a, b) + "|";
				start = end;
			}
			return x;
		};
		std::set < std::string > wanted, found;
		std::vector < int > pick(L, 0);
		std::function < void(int) > enumerate = [&](int l) {
			if (l == L) return (void)wanted.insert(spell(pick));
			for (int c : options[l]) { pick[l] = c; enumerate(l + 1); }
		};
		enumerate(0);

		std::vector < chaplotype > H(4, chaplotype(L));
		std::vector < int > indexes = { 3, 2, 1, 0 };
		indexes.erase(indexes.begin(), indexes.begin() + 4 - n);
		forEachPath(g, [&](std::vector < int > & path) {
			g.buildGuesses(H, indexes, path);
			for (int l = 0 ; l < L ; l ++) {
				pick[l] = 0;
				for (int j = 0 ; j < n ; j ++) pick[l] += H[indexes[j]][l] << (n - 1 - j);
			}
			found.insert(spell(pick));
		});
		EXPECT_EQ(found, wanted);
	}
	EXPECT_GT(tested, 150);
}
