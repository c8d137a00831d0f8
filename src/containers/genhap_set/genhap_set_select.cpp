#include "containers/genhap_set/genhap_set.h"
#include "containers/genhap_set/haplotype_distance.h"
#include "objects/genotype_graph.h"
#include "utils/assertion.h"
#include "utils/autils.h"
#include "utils/putils.h"
#include "utils/vector_clones.h"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <cmath>
#include <cstdlib>
#include <functional>

// What the limited distances return for a candidate worse than the kept set.
static const int FAR = 1000000000;

static void prepare(const std::vector < bool > & input, std::vector < bool > & selected) {
	if (selected.empty()) selected.assign(input.size(), false);
}

static void push(std::vector < haplotype_distance > & heap, int id, int distance) {
	heap.push_back(haplotype_distance(id, distance));
	std::push_heap(heap.begin(), heap.end());
}

// Drops the worst candidates, the top of the heap, down to `size`.
static void trim(std::vector < haplotype_distance > & heap, int size) {
	while ((int)heap.size() > size) {
		std::pop_heap(heap.begin(), heap.end());
		heap.pop_back();
	}
}

static int topOrNone(const std::vector < haplotype_distance > & heap, int size, int none) {
	return ((int)heap.size() >= size) ? heap.front().distance : none;
}

// Shared frame of the Hamming and match selections: for each haplotype of ind in turn,
// the round(states / type) best allowed candidates not selected yet. `none` is the value
// of a hopeless candidate and the limit while the heap is not full; once it is, the worst
// kept distance is the limit, so the scan of a poor candidate stops early.
template < class Distance >
static void selectBest(genhap_set & GH, std::vector < bool > & input, int ind, int states, std::vector < bool > & selected, int none, Distance distance) {
	prepare(input, selected);
	const int n = GH.vecG[ind]->type, H = GH.vecH.size();
	const int max_states = (int)round((double)states / n);
	sorvane_assert(max_states > 0);
	std::vector < haplotype_distance > heap;
	heap.reserve(max_states + 1);
	for (int k = 0 ; k < n ; k ++) {
		const chaplotype & target = GH.vecH[GH.ind2hap[ind][k]];
		heap.clear();
		for (int h = 0 ; h < H ; h ++) if (input[h] && !selected[h]) {
			int d = distance(GH.vecH[h], target, topOrNone(heap, max_states, none));
			if (d != none) {
				push(heap, h, d);
				trim(heap, max_states);
			}
		}
		for (const haplotype_distance & c : heap) selected[c.id] = true;
	}
}

void genhap_set::subsetHaplotypes_thread(std::vector < bool > & mask, std::vector < int > & batch) {
	sorvane_assert(mask.size() == vecH.size());
	for (int ind : batch) if (ind >= 0) for (int h : ind2hap[ind]) mask[h] = false;
}

void genhap_set::subsetHaplotypes_relatives(std::vector < bool > & mask, int ind) {
	sorvane_assert(mask.size() == vecH.size());
	if (ind < 0) return;
	for (int j : relatives[ind]) for (int h : ind2hap[j]) mask[h] = false;
}

int genhap_set::maxBatchSize(const std::vector < bool > & mask, int need, int & limiting) const {
	sorvane_assert(mask.size() == vecH.size());
	const int N = vecG.size();
	std::vector < int > open (N, 0);
	int panel = 0;
	for (unsigned int h = 0 ; h < mask.size() ; h ++) if (mask[h]) {
		if (h < hap2ind.size()) open[hap2ind[h]] ++;
		else panel ++;
	}
	// Graphs by their number of open haplotypes, 0 to 4.
	std::vector < int > count (5, 0);
	for (int c : open) count[c] ++;
	int best = N;
	limiting = -1;
	for (int i = 0 ; i < N && need > panel ; i ++) {
		std::vector < int > others = count;
		for (int j : relatives[i]) others[open[j]] --;
		// The worst batch takes the other graphs with the most open haplotypes, so the ones
		// left out are the smallest: count how many of these it takes to reach `need`.
		int missing = need - panel, left_out = others[0], n_others = others[0];
		for (int c = 1 ; c <= 4 ; c ++) {
			n_others += others[c];
			int take = std::min(others[c], std::max(missing + c - 1, 0) / c);
			left_out += take;
			missing -= take * c;
		}
		int limit = (missing > 0) ? 0 : n_others - left_out + 1;
		if (limit < best) {
			best = limit;
			limiting = i;
		}
	}
	return best;
}

void genhap_set::subsetHaplotypes_hamming_ALL(std::vector < bool > & input, int ind, int states, int left, int right, std::vector < bool > & selected) {
	sorvane_assert(input.size() == vecH.size());
	haplotype_distance::minimise = true;
	selectBest(*this, input, ind, states, selected, FAR, [left, right](const chaplotype & c, const chaplotype & t, int limit) {
		return c.hamming(t, left, right, limit);
	});
}

void genhap_set::subsetHaplotypes_pfmatch_ALL(std::vector < bool > & input, int ind, int states, int left, int right, std::vector < bool > & selected) {
	sorvane_assert(input.size() == vecH.size());
	haplotype_distance::minimise = false;
	selectBest(*this, input, ind, states, selected, 0, [left, right](const chaplotype & c, const chaplotype & t, int limit) {
		return c.perfectmatch(t, left, right, limit);
	});
}

// With `ibd`, an unrelated individual takes both haplotypes of another unrelated individual
// under the rule of the IBD-aware Hamming selection, decided when the second one is reached;
// a haplotype it leaves out is not taken again in the window. Without it, the two
// haplotypes of a duplicate sample (or of a sibling over a stretch shared on both sides)
// explain the target's genotypes alone, and each of the two copies the other's phase.
void genhap_set::subsetHaplotypes_pbwt(std::vector < bool > & input, int ind, int states, int left, int right, std::vector < bool > & selected, bool ibd, std::vector < int > * joined) {
	sorvane_assert(input.size() == vecH.size());
	prepare(input, selected);
	if (!ibd || vecG[ind]->type != 2) {
		pbwt.select(input, ind2hap[ind], left, right, states, selected, nullptr, joined);
		return;
	}
	const chaplotype & t0 = vecH[ind2hap[ind][0]], & t1 = vecH[ind2hap[ind][1]];
	std::vector < int > barred;
	auto admit = [&](int h, std::vector < bool > & taken, int & added) {
		if (std::find(barred.begin(), barred.end(), h) != barred.end()) return false;
		const int other = h < (int)partner.size() ? partner[h] : -1;
		if (other < 0 || !taken[other]) return true;
		const int a0 = std::min(h, other), a1 = std::max(h, other);
		// The rule compares a0 with the target haplotype it resembles more.
		const bool crossed = vecH[a0].hamming(t1, left, right) + vecH[a1].hamming(t0, left, right) < vecH[a0].hamming(t0, left, right) + vecH[a1].hamming(t1, left, right);
		const int r = non_overlapping_hamming_distance(vecH[a0], vecH[a1], crossed ? t1 : t0, crossed ? t0 : t1, left, right);
		const bool keep0 = (r == 0 || r == 2), keep1 = (r == 1 || r == 2);
		if (!keep0) barred.push_back(a0);
		if (!keep1) barred.push_back(a1);
		if (!(other == a0 ? keep0 : keep1)) {
			taken[other] = false;
			added --;
		}
		return h == a0 ? keep0 : keep1;
	};
	// By reference: the callback is not copied into the heap for every window.
	pbwt.select(input, ind2hap[ind], left, right, states, selected, std::ref(admit), joined);
}

// The process-wide rand() stream, never seeded, drives the shuffle as the standard
// random_shuffle does, so the draws are the same from run to run.
void genhap_set::subsetHaplotypes_random(std::vector < bool > & input, int states, std::vector < bool > & selected) {
	sorvane_assert(input.size() == vecH.size());
	prepare(input, selected);
	std::vector < int > pool;
	for (unsigned int h = 0 ; h < input.size() ; h ++) if (input[h] && !selected[h]) pool.push_back(h);
	for (unsigned int i = 1 ; i < pool.size() ; i ++) std::swap(pool[i], pool[rand() % (i + 1)]);
	for (int i = 0 ; i < states && i < (int)pool.size() ; i ++) selected[pool[i]] = true;
}

// Coverage: for every site of the window, the `states` allowed haplotypes with the longest
// run of agreement with the target through that site. Runs are kept as one table of
// forward plus backward lengths, one row per candidate.
void genhap_set::subsetHaplotypes_pfmatchcov_ALL(std::vector < bool > & input, int ind, int states, int left, int right, std::vector < bool > & selected) {
	sorvane_assert(input.size() == vecH.size());
	prepare(input, selected);
	haplotype_distance::minimise = false;
	const int W = right - left + 1;
	std::vector < int > cand, run, bwd(W);
	std::vector < haplotype_distance > heap;
	heap.reserve(std::max(states, 0) + 1);
	for (int hk : ind2hap[ind]) {
		const chaplotype & t = vecH[hk];
		cand.clear();
		for (unsigned int h = 0 ; h < input.size() ; h ++) if (input[h] && !selected[h]) cand.push_back(h);
		run.assign(cand.size() * W, 0);
		for (unsigned int c = 0 ; c < cand.size() ; c ++) {
			const chaplotype & x = vecH[cand[c]];
			int * fwd = run.data() + c * W;
			for (int l = left ; l <= right ; l ++) if (x[l] == t[l]) fwd[l - left] = (l == left) ? 1 : fwd[l - left - 1] + 1;
			bwd[W - 1] = 0;
			for (int l = right - 1 ; l >= left ; l --) bwd[l - left] = (x[l + 1] == t[l + 1]) ? bwd[l - left + 1] + 1 : 0;
			for (int p = 0 ; p < W ; p ++) fwd[p] += bwd[p];
		}
		// The candidates are fixed above, so marking them at once changes nothing for this target.
		for (int p = 0 ; p < W ; p ++) {
			heap.clear();
			for (unsigned int c = 0 ; c < cand.size() ; c ++) {
				push(heap, cand[c], run[c * W + p]);
				trim(heap, states);
			}
			for (const haplotype_distance & c : heap) selected[c.id] = true;
		}
	}
}

// Among the two targets (rows), the closest to column c strictly below `limit`: its row,
// or -1 with `distance` left at FAR.
static int nearestRow(const int dist[2][4], int c, int limit, int & distance) {
	int row = -1;
	distance = FAR;
	for (int r = 0 ; r < 2 ; r ++) if (dist[r][c] < limit) {
		limit = distance = dist[r][c];
		row = r;
	}
	return row;
}

// For an unrelated individual: the two haplotypes of another unrelated individual are both
// taken only when they resemble the same target haplotype, or when each alone explains
// enough of a different target; one of them otherwise.
void genhap_set::subsetHaplotypes_hamming_IBD(std::vector < bool > & input, int curr_ind, int states, int left, int right, std::vector < bool > & selected) {
	sorvane_assert(vecG[curr_ind]->type == 2);
	sorvane_assert(input.size() == vecH.size());
	prepare(input, selected);
	haplotype_distance::minimise = true;
	const chaplotype * targets[2] = { &vecH[ind2hap[curr_ind][0]], &vecH[ind2hap[curr_ind][1]] };
	int dist[2][4];
	std::vector < haplotype_distance > heap;
	heap.reserve(std::max(states, 0) + 4);

	for (int j = 0 ; j < (int)vecG.size() ; j ++) if (j != curr_ind) {
		const std::vector < int > & hj = ind2hap[j];
		int limit = topOrNone(heap, states, FAR);
		for (unsigned int c = 0 ; c < hj.size() ; c ++) for (int r = 0 ; r < 2 ; r ++)
			dist[r][c] = (!input[hj[c]] || selected[hj[c]]) ? FAR : vecH[hj[c]].hamming(*targets[r], left, right, limit);
		if (vecG[j]->type == 2) {
			int da, db;
			int a = nearestRow(dist, 0, limit, da), b = nearestRow(dist, 1, limit, db);
			bool first = a >= 0, second = b >= 0;
			if (first && second && a != b) {
				int r = non_overlapping_hamming_distance(vecH[hj[0]], vecH[hj[1]], *targets[0], *targets[1], left, right);
				first = (r == 0 || r == 2);
				second = (r == 1 || r == 2);
			}
			if (first) push(heap, hj[0], da);
			if (second) push(heap, hj[1], db);
		} else for (unsigned int c = 0 ; c < hj.size() ; c ++) {
			int d;
			if (nearestRow(dist, c, topOrNone(heap, states, FAR), d) >= 0) push(heap, hj[c], d);
		}
		trim(heap, states);
	}

	// Panel haplotypes: the record is offered once per target, so one that stays close to
	// both may hold two places in the heap.
	for (int h = 0 ; h < (int)vecH.size() ; h ++) if (reference_mask[h] && input[h] && !selected[h]) {
		int limit = topOrNone(heap, states, FAR);
		for (int r = 0 ; r < 2 ; r ++) dist[r][0] = vecH[h].hamming(*targets[r], left, right, limit);
		int distance = FAR;
		for (int r = 0 ; r < 2 ; r ++) {
			if (dist[r][0] < limit) limit = distance = dist[r][0];
			if (distance != FAR) push(heap, h, distance);
			trim(heap, states);
		}
	}
	for (const haplotype_distance & c : heap) selected[c.id] = true;
}

// Per site, whether each of a0, a1 matches b0, b1 (E0, E1) and whether a0, a1 differ (D):
// `both` counts E0 & E1 & D, `first` E0 & ~E1, `second` ~E0 & E1, over the range, 64 sites a
// word. A site where a0 = a1 and both match counts nowhere.
SORVANE_POPCOUNT_CLONES static void countMatches(const chaplotype & a0, const chaplotype & a1, const chaplotype & b0, const chaplotype & b1, int left, int right, int & both, int & first, int & second) {
	const unsigned char * p[4] = { a0.data.data(), a1.data.data(), b0.data.data(), b1.data.data() };
	const int bytes = a0.data.size();
	both = first = second = 0;
	for (int w = left >> 6 ; w <= right >> 6 ; w ++) {
		uint64_t x[4] = { 0, 0, 0, 0 };
		const int n = std::min(8, bytes - 8 * w);
		for (int h = 0 ; h < 4 ; h ++) memcpy(&x[h], p[h] + 8 * w, n);
		uint64_t range = ~0ULL;
		if (w == left >> 6) range &= ~0ULL << (left & 63);
		if (w == right >> 6) range &= ~0ULL >> (63 - (right & 63));
		const uint64_t e0 = ~(x[0] ^ x[2]) & range, e1 = ~(x[1] ^ x[3]) & range;
		both += __builtin_popcountll(e0 & e1 & (x[0] ^ x[1]));
		first += __builtin_popcountll(e0 & ~e1);
		second += __builtin_popcountll(~e0 & e1);
	}
}

int non_overlapping_hamming_distance(const chaplotype & a0, const chaplotype & a1, const chaplotype & b0, const chaplotype & b1, int left, int right) {
	int both, first, second;
	countMatches(a0, a1, b0, b1, left, right, both, first, second);
	const double r1 = putils::getRandom(), r2 = putils::getRandom();
	// 0 / 0 gives NaN and the comparison is false.
	const bool x = (double)first / (first + both) > r1;
	const bool y = (double)second / (second + both) > r2;
	if (x && y) return 2;
	if (x) return 0;
	if (y) return 1;
	return -1;
}

void genhap_set::conditioningSets(const std::vector < bool > & open, int ind, const state_counts & n, const std::vector < int > & left, const std::vector < int > & right, std::vector < std::vector < int > > & sets) {
	std::vector < bool > mask = open;
	subsetHaplotypes_relatives(mask, ind);
	sets.assign(left.size(), std::vector < int > ());
	std::vector < bool > selected;
	// The transform alone lists what it takes, so that a window costs its states and not a
	// scan of every haplotype.
	const bool listed = n.hamming > 0 && n.pbwt && n.pmatch == 0 && n.random == 0 && n.cov == 0;
	std::vector < int > joined;
	for (unsigned int k = 0 ; k < left.size() ; k ++) {
		selected.clear();
		joined.clear();
		if (n.hamming > 0) {
			if (n.pbwt) subsetHaplotypes_pbwt(mask, ind, n.hamming, left[k], right[k], selected, n.ibd, listed ? &joined : nullptr);
			else if (vecG[ind]->type == 2 && n.ibd) subsetHaplotypes_hamming_IBD(mask, ind, n.hamming, left[k], right[k], selected);
			else subsetHaplotypes_hamming_ALL(mask, ind, n.hamming, left[k], right[k], selected);
		}
		if (n.pmatch > 0) subsetHaplotypes_pfmatch_ALL(mask, ind, n.pmatch, left[k], right[k], selected);
		if (n.random > 0) subsetHaplotypes_random(mask, n.random, selected);
		if (n.cov > 0) subsetHaplotypes_pfmatchcov_ALL(mask, ind, n.cov, left[k], right[k], selected);
		if (listed) {
			joined.erase(std::remove_if(joined.begin(), joined.end(), [&](int h) { return !selected[h]; }), joined.end());
			if ((int)joined.size() >= n.minimum) {
				std::sort(joined.begin(), joined.end());
				sets[k].assign(joined.begin(), joined.end());
				continue;
			}
		}
		// The IBD choice may drop both haplotypes of a neighbour, and a perfect match needs a
		// whole equal byte: the nearest open haplotypes then make up the minimum, which the
		// thread count keeps available.
		if (std::count(selected.begin(), selected.end(), true) < n.minimum)
			subsetHaplotypes_hamming_ALL(mask, ind, n.minimum * vecG[ind]->type, left[k], right[k], selected);
		autils::findUniqueSet(selected, sets[k]);
	}
}
