#include "objects/genotype_graph.h"
#include "utils/assertion.h"
#include "utils/autils.h"

#include <algorithm>
#include <array>
#include <set>

namespace {

// Working form of a graph during merging. Node g stands for group g and, but for the
// last node, for segment g too; merging group G unlinks node G, that is G and its right
// segment, in constant time.
//
// The group to merge is the last record of a left to right scan over the inner groups, a
// record having fewer distinct transitions (c) than the one before and no more ambiguous
// sites (a) over its two segments. Since a mergeable group has c below 9 and a below 22, a
// segment tree over the nodes keeps, per value of c, the least a in each range: each record
// is then found in logarithmic time instead of a walk over all groups after every merge.
struct merge_lists {
	int n;
	bool unordered;
	unsigned int limit;
	// Per group: the bytes of its kept transitions, and the number of distinct byte values.
	std::vector < std::vector < unsigned char > > T;
	std::vector < int > C;
	// Per node: the number of segments of the graph that it covers, from its own on, and
	// its fragments as one fragment index per covered segment, fragment h at F[s][h * span],
	// so that a merge copies indices and not bits.
	std::vector < int > span;
	std::vector < std::vector < unsigned char > > F;
	// Per node: its number of ambiguous sites.
	std::vector < int > A;
	std::vector < int > prev, next;
	// Heap-ordered tree over `leaves` slots; 255 where no group of the range has that c.
	int leaves;
	std::vector < std::array < unsigned char, 8 > > tree;
};

const unsigned char NONE = 255;

int distinctBytes(const std::vector < unsigned char > & bytes) {
	bool seen[256] = { false };
	int c = 0;
	for (unsigned char b : bytes) if (!seen[b]) {
		seen[b] = true;
		c ++;
	}
	return c;
}

// Records in the tree whether group g may be merged, and with which c and a.
void refresh(merge_lists & M, int g) {
	int x = M.leaves + g;
	M.tree[x].fill(NONE);
	if (M.prev[g] >= 0 && M.next[g] >= 0) {
		const int c = M.C[g], a = M.A[M.prev[g]] + M.A[g];
		if (c < 9 && M.T[g].size() <= M.limit && a < 22) M.tree[x][c - 1] = a;
	}
	for (x /= 2 ; x >= 1 ; x /= 2) for (int c = 0 ; c < 8 ; c ++) M.tree[x][c] = std::min(M.tree[2 * x][c], M.tree[2 * x + 1][c]);
}

void buildTree(merge_lists & M) {
	M.leaves = 1;
	while (M.leaves < (int)M.T.size()) M.leaves *= 2;
	M.tree.assign(2 * M.leaves, std::array < unsigned char, 8 > ());
	for (std::array < unsigned char, 8 > & x : M.tree) x.fill(NONE);
	for (unsigned int g = 0 ; g < M.T.size() ; g ++) refresh(M, g);
}

// The first group after `after`, within the slots lo .. hi - 1 of tree node x, with c below
// max_c and a at most max_a; -1 if none.
int firstRecord(const merge_lists & M, int x, int lo, int hi, int after, int max_c, int max_a) {
	if (hi <= after + 1) return -1;
	bool fits = false;
	for (int c = 1 ; c < max_c && !fits ; c ++) fits = M.tree[x][c - 1] <= max_a;
	if (!fits) return -1;
	if (hi - lo == 1) return lo;
	const int mid = (lo + hi) / 2, left = firstRecord(M, 2 * x, lo, mid, after, max_c, max_a);
	return left >= 0 ? left : firstRecord(M, 2 * x + 1, mid, hi, after, max_c, max_a);
}

// The inner group to merge next, or -1.
int bestGroup(const merge_lists & M) {
	int best = -1, max_c = 9, max_a = 21;
	for (int g = firstRecord(M, 1, 0, M.leaves, -1, max_c, max_a) ; g >= 0 ; g = firstRecord(M, 1, 0, M.leaves, g, max_c, max_a)) {
		best = g;
		max_c = M.C[g];
		max_a = M.A[M.prev[g]] + M.A[g];
	}
	return best;
}

// One transition x of a neighbour group of the merged group and one transition g of the
// merged group, whose bytes lead to the new fragments idx: appends the bytes of x rewritten
// onto the new fragments when the two fit. `left` tells whether the neighbour precedes the
// merged group (its next side facing it) or follows it (its previous side facing it).
void rewrite(const merge_lists & M, const unsigned char * x, const unsigned char * g, const int * idx, bool left, std::vector < unsigned char > & out) {
	const int xs = left ? 4 : 0, fs = 4 - xs, gs = fs;
	auto make = [left](int far, int id) { return (unsigned char)(left ? (id << 4) + far : (far << 4) + id); };
	if (!M.unordered) {
		for (int j = 0 ; j < M.n ; j ++) if (((x[j] >> xs) & 15) != ((g[j] >> gs) & 15)) return;
		for (int j = 0 ; j < M.n ; j ++) out.push_back(make((x[j] >> fs) & 15, idx[j]));
		return;
	}
	const int x0 = (x[0] >> xs) & 15, x1 = (x[1] >> xs) & 15, f0 = (x[0] >> fs) & 15, f1 = (x[1] >> fs) & 15;
	const int g0 = (g[0] >> gs) & 15, g1 = (g[1] >> gs) & 15, i0 = idx[0], i1 = idx[1];
	if (g0 == g1) {
		if (x0 != g0 || x1 != g0) return;
		out.insert(out.end(), { make(f0, i0), make(f1, i1) });
		// Both orders of an unordered pair stay possible when the new fragments differ.
		if (f0 != f1 && i0 != i1) out.insert(out.end(), { make(f1, i0), make(f0, i1) });
	} else if (x0 == g0 && x1 == g1) out.insert(out.end(), { make(f0, i0), make(f1, i1) });
	else if (x1 == g0 && x0 == g1) out.insert(out.end(), { make(f1, i0), make(f0, i1) });
}

void rewriteGroup(const merge_lists & M, const std::vector < unsigned char > & X, const std::vector < unsigned char > & G, const std::vector < int > & idx, bool left, std::vector < unsigned char > & out) {
	for (unsigned int x = 0 ; x < X.size() ; x += M.n)
		for (unsigned int g = 0 ; g < G.size() ; g += M.n) rewrite(M, &X[x], &G[g], &idx[g], left, out);
}

// Fuses the two segments around group G: each distinct byte of G becomes one fragment, the
// left fragment of its low nibble followed by the right fragment of its high nibble.
void merge(merge_lists & M, int G) {
	const int L = M.prev[G], R = G, P = L, N = M.next[G];
	const int sL = M.span[L], sR = M.span[R];
	int table[256], count = 0;
	std::fill(table, table + 256, -1);
	std::vector < unsigned char > fragments;
	std::vector < int > idx;
	for (unsigned char b : M.T[G]) {
		if (table[b] < 0) {
			table[b] = count ++;
			const unsigned char * left = &M.F[L][(b & 15) * sL], * right = &M.F[R][(b >> 4) * sR];
			fragments.insert(fragments.end(), left, left + sL);
			fragments.insert(fragments.end(), right, right + sR);
		}
		idx.push_back(table[b]);
	}
	std::vector < unsigned char > newP, newN;
	rewriteGroup(M, M.T[P], M.T[G], idx, true, newP);
	rewriteGroup(M, M.T[N], M.T[G], idx, false, newN);
	M.F[L].swap(fragments);
	M.span[L] = sL + sR;
	M.A[L] += M.A[R];
	M.T[P].swap(newP);
	M.T[N].swap(newN);
	M.C[P] = distinctBytes(M.T[P]);
	M.C[N] = distinctBytes(M.T[N]);
	std::vector < unsigned char > ().swap(M.T[G]);
	std::vector < unsigned char > ().swap(M.F[R]);
	M.next[P] = N;
	M.prev[N] = P;
	M.prev[G] = M.next[G] = -1;
	refresh(M, P);
	refresh(M, N);
	refresh(M, G);
}

// The working lists of a graph whose kept transitions are flagged in `keep`.
void toLists(const genotype_graph & g, bool unordered, const std::vector < bool > & keep, merge_lists & M) {
	const int n = g.type, n_groups = g.probsC.size(), n_segments = g.HapsS.size();
	M.n = n;
	M.unordered = unordered;
	M.limit = (g.type > 2 || g.scaffolded) ? 32 : 10;
	M.T.resize(n_groups);
	M.C.resize(n_groups);
	M.prev.resize(n_groups);
	M.next.resize(n_groups);
	for (int k = 0 ; k < n_groups ; k ++) {
		for (unsigned int t = g.probsI[k] ; t < g.probsI[k] + g.probsC[k] ; t ++)
			if (keep[t]) M.T[k].insert(M.T[k].end(), g.trans.begin() + t * n, g.trans.begin() + (t + 1) * n);
		M.C[k] = distinctBytes(M.T[k]);
		M.prev[k] = k - 1;
		M.next[k] = (k + 1 < n_groups) ? k + 1 : -1;
	}
	M.span.assign(n_segments, 1);
	M.F.resize(n_segments);
	M.A.assign(n_segments, 0);
	for (int s = 0, offset = 0 ; s < n_segments ; offset += g.HapsS[s ++]) {
		for (unsigned int h = 0 ; h < g.HapsC[s] ; h ++) M.F[s].push_back(h);
		for (unsigned int i = 0 ; i < g.HapsS[s] ; i ++) M.A[s] += g.Ambs[offset + i];
	}
	buildTree(M);
}

// Segments anew from the fragments of the nodes in `order`, with exact capacities: the bits
// of a new fragment are those of the old fragments that it lists, one per covered segment.
void rebuildSegments(genotype_graph & g, const merge_lists & M, const std::vector < int > & order) {
	const int S = order.size() - 1;
	std::vector < unsigned int > oldI, oldS;
	oldI.swap(g.HapsI);
	oldS.swap(g.HapsS);
	std::vector < unsigned int > ().swap(g.HapsC);
	g.HapsI.reserve(S);
	g.HapsC.reserve(S);
	g.HapsS.reserve(S);
	unsigned int total = 0;
	for (int k = 0 ; k < S ; k ++) {
		const int node = order[k], span = M.span[node];
		unsigned int length = 0;
		for (int i = 0 ; i < span ; i ++) length += oldS[node + i];
		g.HapsI.push_back(total);
		g.HapsC.push_back(M.F[node].size() / span);
		g.HapsS.push_back(length);
		total += g.HapsC.back() * length;
	}
	chaplotype haps(total);
	for (int k = 0 ; k < S ; k ++) {
		const int node = order[k], span = M.span[node];
		for (unsigned int h = 0 ; h < g.HapsC[k] ; h ++) {
			int at = g.HapsI[k] + h * g.HapsS[k];
			for (int i = 0 ; i < span ; i ++) {
				const int s = node + i;
				haps.copyBits(at, g.Haps, oldI[s] + M.F[node][h * span + i] * oldS[s], oldS[s]);
				at += oldS[s];
			}
		}
	}
	g.Haps.data.swap(haps.data);
	g.Haps.n = haps.n;
}

// Transitions anew: every surviving state of a cut to every surviving state of the next,
// so that pruning acts on states rather than on pairs of states. A state is keyed by its
// fragment indices, those of an unordered pair sorted.
void rebuildTransitions(genotype_graph & g, const merge_lists & M, const std::vector < int > & order) {
	const int n = g.type, S = order.size() - 1;
	std::vector < std::set < int > > keys(S + 2);
	keys[0].insert(0);
	keys[S + 1].insert(0);
	for (int k = 0 ; k < S ; k ++) {
		const std::vector < unsigned char > & bytes = M.T[order[k]];
		for (unsigned int t = 0 ; t < bytes.size() ; t += n) {
			int key = 0;
			if (M.unordered) key = std::min(bytes[t] >> 4, bytes[t + 1] >> 4) * 16 + std::max(bytes[t] >> 4, bytes[t + 1] >> 4);
			else for (int j = 0 ; j < n ; j ++) key += (bytes[t + j] >> 4) << (4 * j);
			keys[k + 1].insert(key);
		}
	}
	std::vector < std::vector < std::vector < int > > > groups(S + 1, std::vector < std::vector < int > > (2 * n));
	unsigned int n_trans = 0;
	for (int k = 0 ; k <= S ; k ++) {
		std::vector < std::vector < int > > & t = groups[k];
		for (int a : keys[k]) for (int b : keys[k + 1]) {
			if (M.unordered) {
				const int a1 = a >> 4, a2 = a & 15, b1 = b >> 4, b2 = b & 15;
				t[0].push_back(a1); t[1].push_back(b1); t[2].push_back(a2); t[3].push_back(b2);
				if (b1 != b2 && a1 != a2) {
					t[0].push_back(a1); t[1].push_back(b2); t[2].push_back(a2); t[3].push_back(b1);
				}
			} else for (int j = 0 ; j < n ; j ++) {
				t[2 * j].push_back((a >> (4 * j)) & 15);
				t[2 * j + 1].push_back((b >> (4 * j)) & 15);
			}
		}
		n_trans += t[0].size();
	}
	std::vector < unsigned char > ().swap(g.trans);
	std::vector < float > ().swap(g.probs);
	std::vector < float > ().swap(g.likes);
	std::vector < unsigned int > ().swap(g.probsI);
	std::vector < unsigned int > ().swap(g.probsC);
	g.probsI.reserve(S + 1);
	g.probsC.reserve(S + 1);
	g.probs.reserve(n_trans);
	g.trans.reserve(n_trans * n);
	for (std::vector < std::vector < int > > & t : groups) g.pushTrans(t);
}

// Ambiguity anew, as pruning may have resolved sites. A pair may carry any fragment of a
// segment on either track; other units per track the fragments that the entering group
// leads to. A site is ambiguous where the fragments of a track differ, found 8 sites at a
// time as the bits that some of them carry and not all.
void recomputeAmbs(genotype_graph & g) {
	const int n = g.type;
	std::vector < bool > ambs(g.Ambs.size(), false);
	for (unsigned int s = 0, offset = 0 ; s < g.HapsS.size() ; offset += g.HapsS[s ++]) {
		const int C = g.HapsC[s], L = g.HapsS[s];
		unsigned int used[4] = { 0, 0, 0, 0 };
		if (n == 2) used[0] = used[1] = (1u << C) - 1;
		else for (unsigned int t = g.probsI[s] ; t < g.probsI[s] + g.probsC[s] ; t ++)
			for (int j = 0 ; j < n ; j ++) used[j] |= 1u << (g.trans[t * n + j] >> 4);
		for (int i = 0 ; i < L ; i += 8) {
			unsigned int amb = 0;
			for (int j = 0 ; j < n ; j ++) {
				unsigned int some = 0, all = 0xFF;
				for (int h = 0 ; h < C ; h ++) if ((used[j] >> h) & 1) {
					const unsigned int v = g.Haps.bits8(g.HapsI[s] + h * L + i);
					some |= v;
					all &= v;
				}
				amb |= some & ~all;
			}
			for (int b = 0 ; b < 8 && i + b < L ; b ++) ambs[offset + i + b] = (amb >> b) & 1;
		}
	}
	g.Ambs.swap(ambs);
}

}

void genotype_graph::pruneAndMerge(double threshold) {
	normalize();
	sort();
	// The most probable transitions of each group up to the threshold mass, the one that
	// crosses it included, then whatever keeps the kept set free of dead ends.
	std::vector < bool > keep(probs.size(), false);
	for (unsigned int k = 0 ; k < probsC.size() ; k ++) {
		double mass = 0.0;
		for (unsigned int t = probsI[k] ; t < probsI[k] + probsC[k] && mass <= threshold ; t ++) {
			keep[t] = true;
			mass += probs[t];
		}
	}
	while (consolide(keep) > 0);

	merge_lists M;
	toLists(*this, unordered(), keep, M);
	for (int G = bestGroup(M) ; G >= 0 ; G = bestGroup(M)) merge(M, G);
	std::vector < int > order;
	for (int k = 0 ; k >= 0 ; k = M.next[k]) order.push_back(k);
	rebuildSegments(*this, M, order);
	rebuildTransitions(*this, M, order);
	recomputeAmbs(*this);
}

int genotype_graph::consolide(std::vector < bool > & keep) {
	int count = 0;
	for (unsigned int g = 0 ; g + 1 < probsC.size() ; g ++) {
		const unsigned int f0 = probsI[g], l0 = f0 + probsC[g], f1 = probsI[g + 1], l1 = f1 + probsC[g + 1];
		for (unsigned int k = f0 ; k < l0 ; k ++) if (keep[k]) {
			bool linked_on = false;
			for (unsigned int m = f1 ; m < l1 && !linked_on ; m ++) linked_on = keep[m] && linked(k * type, m * type);
			if (!linked_on) {
				const int best = maxN(g + 1, k * type);
				sorvane_assert(best >= 0);
				keep[best] = true;
				count ++;
			}
		}
		for (unsigned int m = f1 ; m < l1 ; m ++) if (keep[m]) {
			bool linked_on = false;
			for (unsigned int k = f0 ; k < l0 && !linked_on ; k ++) linked_on = keep[k] && linked(k * type, m * type);
			if (!linked_on) {
				const int best = maxP(g, m * type);
				sorvane_assert(best >= 0);
				keep[best] = true;
				count ++;
			}
		}
	}
	return count;
}

// Transitions sharing their previous-side state form one class; within each class the
// weights become conditional on that state, uniform for a class without mass.
void genotype_graph::join2cond() {
	std::vector < float > c;
	conditionals(c);
	probs.swap(c);
}

// What join2cond makes of probs, into c, the graph left as it is.
void genotype_graph::conditionals(std::vector < float > & c) const {
	c.resize(probs.size());
	std::vector < int > first, member;
	std::vector < double > sum;
	std::vector < int > size;
	for (unsigned int g = 0 ; g < probsC.size() ; g ++) {
		first.clear();
		member.clear();
		for (unsigned int t = probsI[g] ; t < probsI[g] + probsC[g] ; t ++) {
			unsigned int k = 0;
			while (k < first.size() && !equalP(first[k] * type, t * type)) k ++;
			if (k == first.size()) first.push_back(t);
			member.push_back(k);
		}
		sum.assign(first.size(), 0.0);
		size.assign(first.size(), 0);
		for (unsigned int k = 0 ; k < member.size() ; k ++) {
			sum[member[k]] += probs[probsI[g] + k];
			size[member[k]] ++;
		}
		for (unsigned int k = 0 ; k < member.size() ; k ++) {
			const int m = member[k];
			c[probsI[g] + k] = (float)((sum[m] != 0.0) ? probs[probsI[g] + k] / sum[m] : 1.0 / size[m]);
		}
	}
}

// Per track and group, the product of the fragments used on the previous side and those
// used on the next side: deliberately wider than the transitions themselves.
void genotype_graph::mask(std::vector < std::vector < std::vector < std::vector < bool > > > > & masks) {
	const unsigned int n_groups = probsC.size();
	masks.resize(type);
	for (int j = 0 ; j < type ; j ++) {
		masks[j].resize(n_groups);
		for (unsigned int g = 0 ; g < n_groups ; g ++) {
			const int rows = (g == 0) ? 1 : HapsC[g - 1], cols = (g + 1 == n_groups) ? 1 : HapsC[g];
			bool lo[16] = { false }, hi[16] = { false };
			for (unsigned int t = probsI[g] ; t < probsI[g] + probsC[g] ; t ++) {
				lo[trans[t * type + j] & 15] = true;
				hi[trans[t * type + j] >> 4] = true;
			}
			masks[j][g].assign(rows, std::vector < bool > (cols, false));
			for (int r = 0 ; r < rows ; r ++) if (lo[r]) for (int c = 0 ; c < cols ; c ++) masks[j][g][r][c] = hi[c];
		}
	}
}

// Random windows of about `window` base pairs over `length`: the segments are cut at random
// into pieces of at least m segments, neighbouring pieces sharing two segments.
void genotype_graph::cluster(int length, int window, std::vector < int > & start, std::vector < int > & stop, std::vector < int > & segStart, std::vector < int > & segStop) {
	const int q = std::max(length / window, 1);
	const int m = std::max((int)HapsS.size() / q, 2);
	std::vector < int > first(HapsS.size() + 1, 0);
	for (unsigned int s = 0 ; s < HapsS.size() ; s ++) first[s + 1] = first[s] + HapsS[s];
	std::vector < std::pair < int, int > > windows;
	autils::decompose(m, 0, (int)HapsS.size() - 1, windows);
	start.clear();
	stop.clear();
	segStart.clear();
	segStop.clear();
	for (const std::pair < int, int > & w : windows) {
		segStart.push_back(w.first);
		start.push_back(first[w.first]);
		segStop.push_back(w.second);
		stop.push_back(first[w.second + 1] - 1);
	}
}

// Windows between consecutive site indices of `breaks`, widened to whole segments.
void genotype_graph::cluster(std::vector < int > & breaks, std::vector < int > & start, std::vector < int > & stop, std::vector < int > & segStart, std::vector < int > & segStop) {
	std::vector < int > first(HapsS.size() + 1, 0);
	for (unsigned int s = 0 ; s < HapsS.size() ; s ++) first[s + 1] = first[s] + HapsS[s];
	start.clear();
	stop.clear();
	segStart.clear();
	segStop.clear();
	for (unsigned int i = 1 ; i < breaks.size() ; i ++) {
		const int idx_a = getB(breaks[i - 1]), idx_b = getB(breaks[i]);
		sorvane_assert(idx_a >= 0);
		sorvane_assert(idx_b >= 0);
		segStart.push_back(idx_a);
		start.push_back(first[idx_a]);
		segStop.push_back(idx_b);
		stop.push_back(first[idx_b + 1] - 1);
	}
}
