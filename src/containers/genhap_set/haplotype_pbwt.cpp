#include "containers/genhap_set/haplotype_pbwt.h"
#include "utils/assertion.h"

#include <algorithm>
#include <numeric>

haplotype_pbwt::haplotype_pbwt() : N(0) {
}

// Durbin's algorithm 2: the order and the match starts at site k + 1 follow from those at
// site k by a stable partition on the alleles of site k.
void haplotype_pbwt::build(const std::vector < chaplotype > & H, int n_sites, int step) {
	sorvane_assert(step > 0);
	N = H.size();
	sites.clear();
	for (int k = step - 1 ; k < n_sites ; k += step) sites.push_back(k);
	if (n_sites > 0 && (sites.empty() || sites.back() != n_sites - 1)) sites.push_back(n_sites - 1);
	const size_t C = sites.size();
	sorted.resize(C * N);
	rank.resize(C * N);

	std::vector < int > a (N), d (N, 0), a1 (N), d1 (N);
	std::iota(a.begin(), a.end(), 0);
	// The alleles of 64 sites at a time, one row of N bits per site, so that each site reads
	// its alleles from one short row rather than from N haplotypes apart in memory.
	const int rowBytes = (N + 7) / 8, n_bytes = (n_sites + 7) / 8;
	std::vector < unsigned char > chunk ((size_t)64 * rowBytes);
	size_t c = 0;
	for (int k = 0 ; k < n_sites && c < C ; k ++) {
		if ((k & 63) == 0) for (int h0 = 0 ; h0 < N ; h0 += 8) {
			// A last group of fewer than 8 repeats its last haplotype: those bits are never read.
			const unsigned char * rows[8];
			for (int i = 0 ; i < 8 ; i ++) rows[i] = H[h0 + std::min(i, N - h0 - 1)].data.data();
			chaplotype::transpose8(rows, k >> 3, std::min(8, n_bytes - (k >> 3)), chunk.data() + (h0 >> 3), rowBytes);
		}
		const unsigned char * row = chunk.data() + (size_t)(k & 63) * rowBytes;
		int n0 = 0, n1 = 0, p = k + 1, q = k + 1;
		for (int i = 0 ; i < N ; i ++) {
			p = std::max(p, d[i]);
			q = std::max(q, d[i]);
			if (((row[a[i] >> 3] >> (a[i] & 7)) & 1) == 0) {
				a[n0] = a[i];
				d[n0 ++] = p;
				p = 0;
			} else {
				a1[n1] = a[i];
				d1[n1 ++] = q;
				q = 0;
			}
		}
		std::copy(a1.begin(), a1.begin() + n1, a.begin() + n0);
		std::copy(d1.begin(), d1.begin() + n1, d.begin() + n0);
		if (k == sites[c]) {
			for (int i = 0 ; i < N ; i ++) {
				sorted[c * N + i] = { a[i], d[i] };
				rank[c * N + a[i]] = i;
			}
			c ++;
		}
	}
}

void haplotype_pbwt::checkpoints(int left, int right, int & first, int & last) const {
	first = std::lower_bound(sites.begin(), sites.end(), left) - sites.begin();
	last = std::upper_bound(sites.begin(), sites.end(), right) - sites.begin() - 1;
	if (first <= last) return;
	const int middle = (left + right) / 2;
	int c = std::min(first, (int)sites.size() - 1);
	if (c > 0 && middle - sites[c - 1] < sites[c] - middle) c --;
	first = last = c;
}

haplotype_pbwt::walker haplotype_pbwt::startWalk(int c, int target) const {
	walker w;
	w.sorted = sorted.data() + (size_t)c * N;
	const int p = rank[(size_t)c * N + target];
	w.up = p - 1;
	w.up_start = w.sorted[p].start;
	w.down = p + 1;
	w.down_start = (p + 1 < N) ? w.sorted[p + 1].start : 0;
	return w;
}

// The allowed haplotype with the next longest match, up or down (up on a tie), or -1 when
// both ends are reached. Passing a position folds its match start into that side's.
int haplotype_pbwt::next(walker & w, const std::vector < bool > & allowed) const {
	while (w.up >= 0 || w.down < N) {
		int h;
		if (w.up >= 0 && (w.down >= N || w.up_start <= w.down_start)) {
			// Walks run through their rows a position at a time: the line that a walk
			// enters 8 positions on is fetched before it gets there.
			__builtin_prefetch(w.sorted + std::max(w.up - 8, 0));
			h = w.sorted[w.up].hap;
			w.up_start = std::max(w.up_start, w.sorted[w.up].start);
			w.up --;
		} else {
			__builtin_prefetch(w.sorted + std::min(w.down + 8, N - 1));
			h = w.sorted[w.down].hap;
			w.down ++;
			if (w.down < N) w.down_start = std::max(w.down_start, w.sorted[w.down].start);
		}
		if (allowed[h]) return h;
	}
	return -1;
}

void haplotype_pbwt::select(const std::vector < bool > & allowed, const std::vector < int > & targets, int left, int right, int states, std::vector < bool > & selected, const admission & admit, std::vector < int > * joined) const {
	sorvane_assert(!empty() && (int)allowed.size() == N && (int)selected.size() == N);
	int first, last;
	checkpoints(left, right, first, last);
	const int C = last - first + 1, T = targets.size();
	// A stride coprime with C visits every checkpoint once per round, spread over the window.
	int stride = std::max(1, (int)(0.618 * C));
	while (std::gcd(stride, C) != 1) stride ++;
	std::vector < walker > walks;
	walks.reserve((size_t)C * T);
	// The rows of the checkpoints lie far apart: the targets' ranks, then their neighbours,
	// are fetched for all walks before any is read.
	auto checkpoint = [&](int i) { return first + (int)(((long)i * stride) % C); };
	for (int i = 0 ; i < C ; i ++) for (int t : targets) __builtin_prefetch(&rank[(size_t)checkpoint(i) * N + t]);
	for (int i = 0 ; i < C ; i ++) for (int t : targets) {
		const size_t at = (size_t)checkpoint(i) * N + rank[(size_t)checkpoint(i) * N + t];
		__builtin_prefetch(&sorted[at]);
	}
	for (int i = 0 ; i < C ; i ++) for (int t : targets) walks.push_back(startWalk(checkpoint(i), t));
	int added = 0, alive = walks.size();
	while (added < states && alive > 0) {
		alive = 0;
		for (walker & w : walks) {
			if (added >= states) break;
			const int h = next(w, allowed);
			if (h < 0) continue;
			alive ++;
			if (!selected[h] && (!admit || admit(h, selected, added))) {
				selected[h] = true;
				if (joined) joined->push_back(h);
				added ++;
			}
		}
	}
}
