#include "containers/genhap_set/genhap_set.h"
#include "utils/putils.h"

#include <gtest/gtest.h>
#include <memory>

namespace {

// A set of units of the given types, each its own family but for `family`, over L sites.
struct Study {
	snp_set S;
	genhap_set GH;
	Study(const std::vector < int > & types, int L, const std::vector < int > & family = {}) {
		for (int l = 0 ; l < L ; l ++) S.put(new snp("1", l + 1, "A", "C", 3));
		S.indexing();
		std::vector < genotype_graph * > graphs;
		for (unsigned int i = 0 ; i < types.size() ; i ++) {
			graphs.push_back(new genotype_graph(types[i], family.empty() ? i : family[i]));
			std::vector < std::string > p;
			std::string name = "s" + std::to_string(i);
			graphs.back()->pushChild(name, i, p);
		}
		GH.initialise(graphs, &S);
	}
	// Haplotypes given as strings of 0 and 1.
	void set(int h, const std::string & bits) {
		for (unsigned int l = 0 ; l < bits.size() ; l ++) GH.vecH[h].set(l, bits[l] == '1');
	}
	// Each haplotype a copy of the first one with its own rate of changed sites.
	void mutatedCopies() {
		for (unsigned int l = 0 ; l < (unsigned)S.size() ; l ++) GH.vecH[0].set(l, putils::getRandom() < 0.5);
		for (unsigned int h = 1 ; h < GH.vecH.size() ; h ++) {
			double rate = 0.3 * putils::getRandom();
			for (int l = 0 ; l < S.size() ; l ++) GH.vecH[h].set(l, GH.vecH[0][l] != (putils::getRandom() < rate));
		}
	}
};

chaplotype bitsOf(const std::string & s) {
	std::vector < bool > v;
	for (char c : s) v.push_back(c == '1');
	return chaplotype(v);
}

std::vector < bool > randomBits(int n, double p) {
	std::vector < bool > v(n);
	for (int i = 0 ; i < n ; i ++) v[i] = putils::getRandom() < p;
	return v;
}

// Length of the run of agreement with t through site p, or the run just after p when p
// itself differs.
int runThrough(const chaplotype & h, const chaplotype & t, int left, int right, int p) {
	int n = 0;
	if (h[p] == t[p]) for (int l = p ; l >= left && h[l] == t[l] ; l --) n ++;
	for (int l = p + 1 ; l <= right && h[l] == t[l] ; l ++) n ++;
	return n;
}

}

// Haploid units over random windows, with random masks and earlier selections: the Hamming
// selection takes the nearest allowed haplotypes by byte distance; the match selection,
// whose limit closes the heap once it is full, the first ones sharing a whole byte.
TEST(genhap_set_select, NearestAndMatchingHaplotypes) {
	putils::initRandom(42);
	for (int rep = 0 ; rep < 40 ; rep ++) {
		Study U(std::vector < int > (80, 1), 120);
		U.mutatedCopies();
		const int H = U.GH.vecH.size(), ind = putils::getRandom(H), states = 1 + putils::getRandom(12);
		const int left = putils::getRandom(100), right = left + putils::getRandom(120 - left);
		const chaplotype & t = U.GH.vecH[ind];
		std::vector < bool > input = randomBits(H, 0.7), before = randomBits(H, 0.1);
		std::vector < bool > hamming = before, match = before;
		U.GH.subsetHaplotypes_hamming_ALL(input, ind, states, left, right, hamming);
		U.GH.subsetHaplotypes_pfmatch_ALL(input, ind, states, left, right, match);

		int n_pool = 0, n_new = 0, worst_in = -1, best_out = 1000000, n_match = 0;
		for (int h = 0 ; h < H ; h ++) {
			ASSERT_TRUE(!before[h] || (hamming[h] && match[h]));
			if (before[h]) continue;
			ASSERT_TRUE(input[h] || (!hamming[h] && !match[h]));
			if (!input[h]) continue;
			n_pool ++;
			int d = U.GH.vecH[h].hamming(t, left, right);
			if (hamming[h]) {
				n_new ++;
				worst_in = std::max(worst_in, d);
			} else best_out = std::min(best_out, d);
			bool shares = U.GH.vecH[h].perfectmatch(t, left, right, 0) > 0;
			EXPECT_EQ(match[h], shares && n_match < states) << h;
			n_match += shares;
		}
		EXPECT_EQ(n_new, std::min(states, n_pool));
		EXPECT_LE(worst_in, best_out);
	}
}

// Two targets share the states; an already selected or masked haplotype is passed over.
TEST(genhap_set_select, StatesSplitByType) {
	Study U({ 2, 1, 1, 1, 1, 1, 1, 1, 3, 4 }, 16);
	const std::string zeros(16, '0'), ones(16, '1');
	U.set(0, zeros);
	U.set(1, ones);
	U.set(2, "0000000000000000");
	U.set(3, "1000000000000000");	// distance 1 to the first target
	U.set(4, "0000000000000000");	// masked out
	U.set(5, "1100000011000000");	// 4 and 12
	U.set(6, "0111111111111111");	// already selected
	U.set(7, "0011111111111111");
	U.set(8, "0001111111111111");
	std::vector < bool > input(U.GH.vecH.size(), true), selected(U.GH.vecH.size(), false);
	input[0] = input[1] = input[4] = false;
	std::fill(input.begin() + 9, input.end(), false);	// the duo and the trio
	selected[6] = true;
	U.GH.subsetHaplotypes_hamming_ALL(input, 0, 4, 0, 15, selected);
	std::vector < int > chosen;
	for (unsigned int h = 0 ; h < selected.size() ; h ++) if (selected[h]) chosen.push_back(h);
	EXPECT_EQ(chosen, std::vector < int > ({ 2, 3, 6, 7, 8 }));

	// A duo with 2 states takes one haplotype per target; a trio with 1 state cannot.
	std::vector < bool > duo;
	U.GH.subsetHaplotypes_hamming_ALL(input, 8, 2, 0, 15, duo);
	EXPECT_EQ(std::count(duo.begin(), duo.end(), true), 3);
	EXPECT_DEATH(U.GH.subsetHaplotypes_hamming_ALL(input, 9, 1, 0, 15, duo), "max_states > 0");
}

// The pair rule of unrelated individuals, then panel haplotypes offered once per target.
TEST(genhap_set_select, IdentityByDescentRule) {
	Study U({ 2, 2, 2, 2, 1 }, 16);
	filter_reader F;
	reference_reader R(F, &U.S);
	R.ind_id = { "r" };
	R.ind_male = { false };
	R.hap0 = { std::vector < bool > (16, false) };
	R.hap1 = { std::vector < bool > (16, false) };
	R.hap1[0][15] = true;
	U.GH.initialise(R, false);
	U.set(1, std::string(16, '1'));
	U.set(2, "1000000000000000");	// both near the first target: both taken
	U.set(3, "1100000000000000");
	U.set(4, "1100000000000000");	// the target pair but for the same two sites: neither
	U.set(5, "0011111111111111");
	U.set(6, "0000000000000001");	// its partner is masked: this one alone
	U.set(8, "1111111111111110");	// a haploid is weighed haplotype by haplotype
	std::vector < bool > input(U.GH.vecH.size(), true), selected;
	input[0] = input[1] = input[7] = false;
	U.GH.subsetHaplotypes_hamming_IBD(input, 0, 20, 0, 15, selected);
	EXPECT_EQ(selected, std::vector < bool > ({ 0, 0, 1, 1, 0, 0, 1, 0, 1, 1, 1 }));

	// With two states the exact panel copy of a target fills both places by itself.
	std::vector < bool > panel(U.GH.vecH.size(), false), only;
	panel[9] = panel[10] = true;
	U.GH.subsetHaplotypes_hamming_IBD(panel, 0, 2, 0, 15, only);
	EXPECT_EQ(only, std::vector < bool > ({ 0, 0, 0, 0, 0, 0, 0, 0, 0, 1, 0 }));
	EXPECT_DEATH(U.GH.subsetHaplotypes_hamming_IBD(input, 4, 2, 0, 15, only), "type == 2");
}

TEST(genhap_set_select, NonOverlappingDistance) {
	struct Case { std::string a0, a1, b0, b1; int expected; };
	const std::vector < Case > cases = {
		{ "0101", "1010", "0101", "1010", -1 },	// matching pairs only
		{ "0000", "0000", "0000", "0000", -1 },	// nothing informative: 0 / 0
		{ "0011", "0000", "0011", "1111", 0 },	// the first alone matches
		{ "0000", "0011", "1111", "0011", 1 },
		{ "0011", "1100", "0000", "0000", 2 },
	};
	for (const Case & c : cases) {
		putils::initRandom(7);
		EXPECT_EQ(non_overlapping_hamming_distance(bitsOf(c.a0), bitsOf(c.a1), bitsOf(c.b0), bitsOf(c.b1), 0, 3), c.expected) << c.a0 << " " << c.a1;
	}
	// Two draws are taken even over an empty range.
	putils::initRandom(7);
	chaplotype x(4);
	EXPECT_EQ(non_overlapping_hamming_distance(x, x, x, x, 3, 2), -1);
	double third = putils::getRandom();
	putils::initRandom(7);
	putils::getRandom();
	putils::getRandom();
	EXPECT_EQ(putils::getRandom(), third);
}

// Every site of the window is covered by the `states` haplotypes with the longest runs of
// agreement through it.
TEST(genhap_set_select, CoverageOfEverySite) {
	putils::initRandom(3);
	for (int rep = 0 ; rep < 20 ; rep ++) {
		Study U(std::vector < int > (40, 1), 60);
		U.mutatedCopies();
		const int H = U.GH.vecH.size(), ind = putils::getRandom(H), states = 1 + putils::getRandom(3);
		const int left = putils::getRandom(40), right = left + putils::getRandom(60 - left);
		std::vector < bool > input = randomBits(H, 0.8), selected = randomBits(H, 0.1), before = selected;
		U.GH.subsetHaplotypes_pfmatchcov_ALL(input, ind, states, left, right, selected);
		for (int p = left ; p <= right ; p ++) {
			std::vector < int > runs;
			for (int h = 0 ; h < H ; h ++) if (input[h] && !before[h]) runs.push_back(runThrough(U.GH.vecH[h], U.GH.vecH[ind], left, right, p));
			std::sort(runs.rbegin(), runs.rend());
			const int k = std::min(states, (int)runs.size()), bar = k ? runs[k - 1] : 0;
			int covered = 0;
			for (int h = 0 ; h < H ; h ++) if (input[h] && !before[h]) {
				int r = runThrough(U.GH.vecH[h], U.GH.vecH[ind], left, right, p);
				EXPECT_TRUE(selected[h] || r <= bar) << p << " " << h;
				covered += selected[h] && r >= bar;
			}
			EXPECT_GE(covered, k);
		}
		for (int h = 0 ; h < H ; h ++) EXPECT_TRUE(!selected[h] || before[h] || input[h]);
	}
}

TEST(genhap_set_select, RandomChoiceAndMasks) {
	Study U({ 2, 1, 3, 2, 1 }, 8, { 0, 1, 1, 2, 1 });
	const int H = U.GH.vecH.size();
	std::vector < bool > input(H, true), selected(H, false);
	input[2] = false;
	selected[0] = true;
	for (int states : { 0, 3, 20 }) {
		std::vector < bool > s = selected;
		U.GH.subsetHaplotypes_random(input, states, s);
		EXPECT_EQ(std::count(s.begin(), s.end(), true), 1 + std::min(states, H - 2));
		EXPECT_TRUE(s[0] && !s[2]);
		std::vector < bool > full = s;
		U.GH.subsetHaplotypes_random(s, states, full);
		EXPECT_EQ(full, s);
	}

	// Units 1 and 3 of a batch; the family of unit 1 (units 1, 2 and 4); kin by name only.
	std::vector < bool > batch(H, true), family(H, true), kin(H, true);
	std::vector < int > slots = { -1, 1, 3 };
	U.GH.subsetHaplotypes_thread(batch, slots);
	EXPECT_EQ(batch, std::vector < bool > ({ 1, 1, 0, 1, 1, 1, 0, 0, 1 }));
	U.GH.subsetHaplotypes_relatives(family, 1);
	U.GH.subsetHaplotypes_relatives(family, -1);
	EXPECT_EQ(family, std::vector < bool > ({ 1, 1, 0, 0, 0, 0, 1, 1, 0 }));
	U.GH.subsetHaplotypes_relatives_old(kin, 3);
	EXPECT_EQ(kin, std::vector < bool > ({ 1, 1, 1, 1, 1, 1, 0, 0, 1 }));
	std::vector < bool > wrong(H - 1, true);
	EXPECT_DEATH(U.GH.subsetHaplotypes_thread(wrong, slots), "mask.size\\(\\) == vecH.size\\(\\)");
}
