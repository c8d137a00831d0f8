#include "duohmm/TrioHMM.h"
#include "duohmm/geneticMap.h"
#include "duohmm/hmm_utils.h"

#include <cmath>
#include <numeric>
#include <gtest/gtest.h>

namespace {

// Sites 8 to 12 Mb apart, so that recombination matters; the fourth at the third's position.
const std::vector < int > positions = { 1000000, 9000000, 21000000, 21000000, 31000000 };

std::vector < chaplotype > pairOf(const std::string & a, const std::string & b) {
	std::vector < chaplotype > h (2, chaplotype(a.size()));
	for (unsigned int l = 0 ; l < a.size() ; l ++) h[0].set(l, a[l] == '1'), h[1].set(l, b[l] == '1');
	return h;
}

// State bit 2 - k: the haplotype parent k transmits; parent k gives child haplotype k ^ bit 0.
struct Family {
	static const int N = 8, P = 2;
	TrioHMM & M;
	const chaplotype * parents[2], * child;
	const std::vector < float > * recomb[2] = { &M.recomb_male, &M.recomb_female };
	const float lengths[2] = { M.male_length, M.female_length };
	float * rates[3] = { &M.switch_dad, &M.switch_mum, &M.switch_child };

	int bit(int j, int k) const { return (j >> (P - k)) & 1; }
	bool match(int j, int l) const {
		for (int k = 0 ; k < P ; k ++) if (parents[k][bit(j, k)].get(l) != child[k ^ bit(j, P)].get(l)) return false;
		return true;
	}
	double emission(int j, int l) const { return match(j, l) ? 1 - M.genotype_error : M.genotype_error; }
	double transition(int i, int j, int l) const {
		double T = 1;
		for (int k = 0 ; k <= P ; k ++) {
			const double r = k < P ? (*recomb[k])[l] : 0.0, s = *rates[k];
			T *= bit(i, k) == bit(j, k) ? (1 - r) * (1 - s) + s * r : (1 - s) * r + (1 - r) * s;
		}
		return T;
	}

	// Viterbi, E and M steps against all N^K paths; xi weighs a path by E(i, l + 1) / E(j, l + 1).
	void check(const std::string & what) {
		const int K = M.K;
		std::vector < std::vector < double > > gamma (K, std::vector < double > (N, 0)), xi (K, std::vector < double > (N * N, 0));
		std::vector < int > path (K), best;
		double likelihood = 0, top = -1;
		for (long code = 0 ; code < std::lround(std::pow(N, K)) ; code ++) {
			for (long l = K - 1, c = code ; l >= 0 ; l --, c /= N) path[l] = c % N;
			double p = emission(path[0], 0) / N;
			for (int l = 1 ; l < K ; l ++) p *= transition(path[l - 1], path[l], l - 1) * emission(path[l], l);
			likelihood += p;
			for (int l = 0 ; l < K ; l ++) gamma[l][path[l]] += p;
			for (int l = 0 ; l + 1 < K ; l ++)
				xi[l][path[l] * N + path[l + 1]] += p * emission(path[l], l + 1) / emission(path[l + 1], l + 1);
			if (p > top * (1 + 1e-9)) top = p, best = path;
		}
		M.viterbi();
		for (int l = 0 ; l < K ; l ++) EXPECT_EQ(M.stateseq[l], best[l]) << what << " site " << l;
		M.estep();
		double scaled = 1, errors = 0, changes[3] = { 0, 0, 0 };
		for (int l = 0 ; l < K ; l ++) scaled /= M.scale[l];
		EXPECT_NEAR(scaled / likelihood, 1.0, 1e-4) << what;
		for (int l = 0 ; l < K ; l ++) {
			const double sum = std::accumulate(xi[l].begin(), xi[l].end(), 0.0);
			for (int i = 0 ; i < N ; i ++) {
				EXPECT_NEAR(M.gamma[l * N + i], gamma[l][i] / likelihood, 1e-5) << what << " site " << l << " state " << i;
				if (!match(i, l)) errors += gamma[l][i] / likelihood;
				for (int j = 0 ; j < N && l + 1 < K ; j ++) {
					EXPECT_NEAR(M.xi[(l * N + i) * N + j], xi[l][i * N + j] / sum, 1e-5) << what << " site " << l;
					for (int k = 0 ; k <= P ; k ++) if (bit(i, k) != bit(j, k)) changes[k] += xi[l][i * N + j] / sum;
				}
			}
		}
		M.mstep();
		for (int k = 0 ; k < P ; k ++) EXPECT_NEAR(*rates[k], std::max(0.0, (changes[k] - lengths[k]) / (K - 2 * lengths[k])), 1e-5) << what;
		EXPECT_NEAR(*rates[P], changes[P] / K, 1e-5) << what;
		EXPECT_NEAR(M.genotype_error, errors / K, 1e-5) << what;
	}
};

}

TEST(TrioHMM, MatchesEnumeration) {
	struct Case { std::vector < std::string > haps; float e; std::vector < float > switches; };
	const Case cases[] = {
		{ { "01011", "11001", "00110", "10111", "01010", "10110" }, 0.005f, { 0.005f, 0.005f, 0.005f } },
		{ { "01011", "11001", "00110", "10111", "11011", "00011" }, 0.05f, { 0.02f, 0.1f, 0.03f } },
		{ { "00100", "11101", "01100", "01101", "11100", "01001" }, 0.2f, { 0.01f, 0.3f, 0.1f } },
	};
	geneticMap map;
	TrioHMM M(positions, map);
	EXPECT_TRUE(M.recomb_male[2] > 0.0f && M.recomb_male[2] < 1e-12f);	// one position: a tiny fraction, not 0
	for (const Case & c : cases) {
		std::vector < chaplotype > F = pairOf(c.haps[0], c.haps[1]), Mo = pairOf(c.haps[2], c.haps[3]), C = pairOf(c.haps[4], c.haps[5]);
		M.setHaps(F.data(), Mo.data(), C.data());
		M.genotype_error = c.e, M.switch_dad = c.switches[0], M.switch_mum = c.switches[1], M.switch_child = c.switches[2];
		Family { M, { F.data(), Mo.data() }, C.data() }.check(c.haps[4]);
	}
	// Allele counts of child, father, mother; symmetric in the parents.
	const int consistent[][3] = { { 0, 0, 0 }, { 1, 0, 2 }, { 0, 0, 1 }, { 1, 1, 0 }, { 2, 1, 1 }, { 0, 1, 1 }, { 2, 1, 2 }, { 2, 2, 2 } };
	const int inconsistent[][3] = { { 1, 0, 0 }, { 2, 0, 2 }, { 0, 2, 1 }, { 2, 0, 1 }, { 0, 0, 2 }, { 0, 2, 2 }, { 1, 2, 2 } };
	for (auto & c : consistent) EXPECT_TRUE(is_mendel_consistent(c[0], c[1], c[2]) && is_mendel_consistent(c[0], c[2], c[1])) << c[0] << c[1] << c[2];
	for (auto & c : inconsistent) EXPECT_FALSE(is_mendel_consistent(c[0], c[1], c[2]) || is_mendel_consistent(c[0], c[2], c[1])) << c[0] << c[1] << c[2];
}
