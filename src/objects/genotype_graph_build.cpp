#include "objects/genotype_graph.h"
#include "utils/assertion.h"
#include "utils/putils.h"

#include <algorithm>
#include <utility>

// The fragments of an open segment hold no bits. Fragment k made at site l is byte k of row
// l of a trail of 8 bytes a site: (f << 1) + a, f the fragment at site l - 1 that it extends
// and a its allele; a closed segment reads its bits back from its last site to its first.
// Copying a fragment to extend it is one byte, which keeps the build free of allocations
// per site.
static const int trailRow = 8;

// One allele per track. A fragment extended by an allele is made once per site and then
// shared by every state and track that asks for it, so fragments come in order of first use.
static void expandTracks(std::vector < unsigned char > & newHaps, int (* index)[2], const int * state, int n, std::vector < int > & newStates, const int * alleles) {
	for (int j = 0 ; j < n ; j ++) {
		int & cell = index[state[j]][alleles[j]];
		if (cell < 0) {
			cell = newHaps.size();
			newHaps.push_back((unsigned char)((state[j] << 1) | alleles[j]));
		}
		newStates.push_back(cell);
	}
}

void expand(std::vector < unsigned char > & newHaps, int (* index)[2], const int * state, std::vector < int > & newStates, int a0, int a1) {
	const int a[2] = { a0, a1 };
	expandTracks(newHaps, index, state, 2, newStates, a);
}

void expand(std::vector < unsigned char > & newHaps, int (* index)[2], const int * state, std::vector < int > & newStates, int a0, int a1, int a2) {
	const int a[3] = { a0, a1, a2 };
	expandTracks(newHaps, index, state, 3, newStates, a);
}

void expand(std::vector < unsigned char > & newHaps, int (* index)[2], const int * state, std::vector < int > & newStates, int a0, int a1, int a2, int a3) {
	const int a[4] = { a0, a1, a2, a3 };
	expandTracks(newHaps, index, state, 4, newStates, a);
}

bool isCompatible(int u0, int u1, int u2, int g1, int g2) {
	return (g1 < 0 || g1 == u0 + u1) && (g2 < 0 || g2 == u0 + u2);
}

bool isCompatible(int u0, int u1, int u2, int u3, int g1, int g2, int g3) {
	return (g1 < 0 || g1 == u0 + u1) && (g2 < 0 || g2 == u2 + u3) && (g3 < 0 || g3 == u0 + u3);
}

void getCandidate(std::vector < int > & c, int a0, int a1, int b0, int b1) {
	for (int k = 0 ; k < 8 ; k ++)
		if (isCompatible((k >> 2) & 1, (k >> 1) & 1, k & 1, a0 + a1, b0 + b1)) c.push_back(k);
}

void getCandidate(std::vector < int > & c, int a0, int a1, int b0, int b1, int d0, int d1) {
	for (int k = 0 ; k < 16 ; k ++)
		if (isCompatible((k >> 3) & 1, (k >> 2) & 1, (k >> 1) & 1, k & 1, a0 + a1, b0 + b1, d0 + d1)) c.push_back(k);
}

// The expand form of the state's number of tracks. A haploid state is its one fragment.
static void expandState(std::vector < unsigned char > & newHaps, int (* index)[2], const int * state, int n, std::vector < int > & newStates, const int * a) {
	switch (n) {
	case 1: expandTracks(newHaps, index, state, 1, newStates, a); break;
	case 2: expand(newHaps, index, state, newStates, a[0], a[1]); break;
	case 3: expand(newHaps, index, state, newStates, a[0], a[1], a[2]); break;
	default: expand(newHaps, index, state, newStates, a[0], a[1], a[2], a[3]);
	}
}

namespace {

// The open segment: its number of fragments and its states, n fragment indices each.
struct open_segment {
	int n, haps;
	std::vector < int > states, newStates;
	std::vector < unsigned char > newHaps;
	int index[trailRow][2];
};

// The closed segments: segment s spans the sites first[s] .. first[s + 1] - 1 and has
// haps[s] fragments, read from the trail, and the states from states[n * stateFirst[s]]
// to states[n * stateFirst[s + 1]].
struct segment_chain {
	std::vector < unsigned char > trail;
	std::vector < int > first, haps, states, stateFirst;
};

// The states of one side of a group: count states of n fragment indices from x on.
struct state_list {
	const int * x;
	int count;
};

}

// Extends the segment by one site, whose fragments go to `row` of the trail: every state by
// every allele combination of the site, n per combination in `alleles`; combinations from `n_always` on only extend states whose two
// fragments differ, since an unordered pair of equal fragments would make the same pair
// twice. Returns false, the segment unchanged, when the result breaks the limits.
static bool extendSegment(open_segment & seg, unsigned char * row, const std::vector < int > & alleles, int n_always, unsigned int max_states) {
	const int n = seg.n, n_options = alleles.size() / n;
	sorvane_assert(n_always == n_options || n == 2);
	if (n_options == 1 && std::all_of(alleles.begin(), alleles.end(), [&](int a) { return a == alleles[0]; })) {
		// One allele for all tracks: each fragment grows in place. Fragments are already in
		// the order in which the states first use them, so this is what expanding gives.
		for (int r = 0 ; r < seg.haps ; r ++) row[r] = (unsigned char)((r << 1) | alleles[0]);
		return true;
	}
	seg.newHaps.clear();
	seg.newStates.clear();
	for (int r = 0 ; r < seg.haps ; r ++) seg.index[r][0] = seg.index[r][1] = -1;
	for (unsigned int s = 0 ; s < seg.states.size() ; s += n)
		for (int o = 0 ; o < n_options ; o ++)
			if (o < n_always || seg.states[s] != seg.states[s + 1]) expandState(seg.newHaps, seg.index, &seg.states[s], n, seg.newStates, &alleles[o * n]);
	if (seg.newStates.size() >= max_states * n || seg.newHaps.size() > trailRow) return false;
	std::copy(seg.newHaps.begin(), seg.newHaps.end(), row);
	seg.haps = seg.newHaps.size();
	seg.states.swap(seg.newStates);
	return true;
}

// One transition per track: previous-side and next-side fragment, the next side read in
// reverse track order for the crossed transition of an unordered pair.
static void addTransition(std::vector < std::vector < int > > & t, const int * p, const int * q, int n, bool crossed) {
	for (int j = 0 ; j < n ; j ++) {
		t[2 * j].push_back(p[j]);
		t[2 * j + 1].push_back(q[crossed ? n - 1 - j : j]);
	}
}

// Fills the columns of t with the transitions from the states P of one segment to the states
// Q of the next: their full product, and with `crossing`, for pairs whose fragments differ
// on both sides, a second, crossed transition that holds the other relative phase of the
// two segments.
static void makeGroup(state_list P, state_list Q, int n, bool crossing, std::vector < std::vector < int > > & t) {
	for (std::vector < int > & column : t) column.clear();
	for (int a = 0 ; a < P.count ; a ++) for (int b = 0 ; b < Q.count ; b ++) {
		const int * p = P.x + a * n, * q = Q.x + b * n;
		addTransition(t, p, q, n, false);
		if (crossing && p[0] != p[1] && q[0] != q[1]) addTransition(t, p, q, n, true);
	}
}

// The number of transitions that makeGroup makes, known before any is made.
static unsigned int groupSize(state_list P, state_list Q, int n, bool crossing) {
	auto unequal = [&](state_list X) {
		int c = 0;
		for (int a = 0 ; a < X.count ; a ++) c += X.x[a * n] != X.x[a * n + 1];
		return c;
	};
	return P.count * Q.count + (crossing ? unequal(P) * unequal(Q) : 0);
}

// Pushes the closed segments and the groups of transitions between their states, the
// virtual start and end having the one state of fragment 0 on every track. Every vector is
// sized exactly before it is filled.
static void pushChain(genotype_graph & G, const segment_chain & c, bool crossing) {
	const int S = c.haps.size(), n = G.type;
	unsigned int bits = 0, rows = 0;
	const int ends[4] = { 0, 0, 0, 0 };
	auto side = [&](int s) {
		if (s < 0 || s >= S) return state_list { ends, 1 };
		return state_list { &c.states[n * c.stateFirst[s]], c.stateFirst[s + 1] - c.stateFirst[s] };
	};
	for (int s = 0 ; s < S ; s ++) bits += c.haps[s] * (c.first[s + 1] - c.first[s]);
	for (int g = 0 ; g <= S ; g ++) rows += groupSize(side(g - 1), side(g), n, crossing);
	G.Haps.data.reserve((bits + 7) / 8);
	G.HapsI.reserve(S);
	G.HapsC.reserve(S);
	G.HapsS.reserve(S);
	G.probsI.reserve(S + 1);
	G.probsC.reserve(S + 1);
	G.probs.reserve(rows);
	G.trans.reserve(rows * n);
	std::vector < std::vector < bool > > haps;
	for (int s = 0 ; s < S ; s ++) {
		const int first = c.first[s], last = c.first[s + 1] - 1;
		haps.resize(c.haps[s]);
		for (int h = 0 ; h < c.haps[s] ; h ++) {
			haps[h].assign(last - first + 1, false);
			for (int l = last, k = h ; l >= first ; l --) {
				const unsigned char b = c.trail[l * trailRow + k];
				haps[h][l - first] = b & 1;
				k = b >> 1;
			}
		}
		G.pushHaps(haps);
	}
	std::vector < std::vector < int > > t(2 * n);
	for (int g = 0 ; g <= S ; g ++) {
		makeGroup(side(g - 1), side(g), n, crossing, t);
		G.pushTrans(t);
	}
	sorvane_assert(G.probs.size() == rows);
}

// Sites are taken from left to right and a segment is closed at the first site that would
// take it to 9 fragments or to max_states states. rule(l, alleles, amb, miss) gives the
// allele combinations of site l (see extendSegment), its Ambs and Miss bits, and returns
// n_always; it is called once per site, also when the site opens the next segment.
template < class SiteRule >
void genotype_graph::buildSegments(int n_sites, unsigned int max_states, SiteRule rule) {
	sorvane_assert(n_sites > 0 && HapsS.empty() && probsI.empty());
	open_segment seg;
	seg.n = type;
	segment_chain chain;
	chain.trail.resize((size_t)n_sites * trailRow);
	chain.stateFirst.push_back(0);
	std::vector < int > alleles;
	bool amb = false, miss = false;
	Ambs.reserve(n_sites);
	Miss.reserve(n_sites);
	int n_always = rule(0, alleles, amb, miss);
	int l = 0;
	while (l < n_sites) {
		seg.haps = 1;
		seg.states.assign(type, 0);
		chain.first.push_back(l);
		const int opened = l;
		while (l < n_sites && extendSegment(seg, &chain.trail[(size_t)l * trailRow], alleles, n_always, max_states)) {
			Ambs.push_back(amb);
			Miss.push_back(miss);
			if (++ l < n_sites) n_always = rule(l, alleles, amb, miss);
		}
		// Any site fits an empty segment; otherwise this would never end.
		sorvane_assert(l > opened);
		chain.haps.push_back(seg.haps);
		chain.states.insert(chain.states.end(), seg.states.begin(), seg.states.end());
		chain.stateFirst.push_back(chain.states.size() / type);
	}
	chain.first.push_back(n_sites);
	pushChain(*this, chain, unordered());
}

int genotype_graph::buildHap(std::vector < bool > & G0, std::vector < bool > & M) {
	sorvane_assert(type == 1 && G0.size() == M.size());
	// The states of a haploid segment are its fragments, so only the fragment limit binds.
	buildSegments(M.size(), 9, [&](int l, std::vector < int > & alleles, bool & amb, bool & miss) {
		amb = miss = M[l];
		if (M[l]) alleles = { 0, 1 };
		else alleles.assign(1, G0[l]);
		return (int)alleles.size();
	});
	return 0;
}

// Allele pairs of an unrelated site. A missing site allows all four; a heterozygous one both
// orders, unless a scaffold fixes it. Ordered, every pair extends every state; unordered,
// the pairs past the first three (missing) or the first one (heterozygous) only extend states
// of two different fragments.
static int unrelatedSite(bool a, bool b, bool m, bool fixed, bool ordered, std::vector < int > & alleles, bool & amb, bool & miss) {
	miss = m;
	amb = m || a != b;
	if (m) {
		alleles = { 0, 0, 1, 1, 0, 1, 1, 0 };
		return ordered ? 4 : 3;
	}
	alleles = { a, b };
	if (a != b && !fixed) alleles.insert(alleles.end(), { b, a });
	return ordered ? (int)alleles.size() / 2 : 1;
}

int genotype_graph::buildUnr(std::vector < bool > & G0, std::vector < bool > & G1, std::vector < bool > & M) {
	sorvane_assert(type == 2 && G0.size() == M.size() && G1.size() == M.size());
	buildSegments(M.size(), 11, [&](int l, std::vector < int > & alleles, bool & amb, bool & miss) {
		return unrelatedSite(G0[l], G1[l], M[l], false, false, alleles, amb, miss);
	});
	return 0;
}

int genotype_graph::buildUnr(std::vector < bool > & G0, std::vector < bool > & G1, std::vector < bool > & M, std::vector < bool > & S) {
	sorvane_assert(type == 2 && G0.size() == M.size() && G1.size() == M.size() && S.size() == M.size());
	scaffolded = true;
	buildSegments(M.size(), 33, [&](int l, std::vector < int > & alleles, bool & amb, bool & miss) {
		return unrelatedSite(G0[l], G1[l], M[l], S[l], true, alleles, amb, miss);
	});
	return 0;
}

// Duo (parent, child) or trio (father, mother, child): A0, A1, AM hold the allele and missing
// vectors of the type - 1 members. A site whose genotypes break Mendel's laws is opened to
// every combination, as if all members were missing there; the count returned is that of
// the genotypes so set missing.
int genotype_graph::buildFamily(std::vector < bool > ** A0, std::vector < bool > ** A1, std::vector < bool > ** AM) {
	int members = type - 1, n_sites = AM[0]->size(), errors = 0;
	for (int k = 0 ; k < members ; k ++) sorvane_assert((int)A0[k]->size() == n_sites && (int)A1[k]->size() == n_sites && (int)AM[k]->size() == n_sites);
	std::vector < int > candidates;
	auto fill = [&](const int * g) {
		if (members == 2) getCandidate(candidates, g[0], g[1], g[2], g[3]);
		else getCandidate(candidates, g[0], g[1], g[2], g[3], g[4], g[5]);
	};
	buildSegments(n_sites, 33, [&](int l, std::vector < int > & alleles, bool & amb, bool & miss) {
		int g[6];
		const int unknown[6] = { -1, -1, -1, -1, -1, -1 };
		miss = false;
		for (int k = 0 ; k < members ; k ++) {
			bool m = (*AM[k])[l];
			miss = miss || m;
			g[2 * k] = m ? -1 : (int)(*A0[k])[l];
			g[2 * k + 1] = m ? -1 : (int)(*A1[k])[l];
		}
		candidates.clear();
		fill(g);
		if (candidates.empty()) {
			for (int k = 0 ; k < members ; k ++) errors += g[2 * k] >= 0;
			fill(unknown);
		}
		amb = candidates.size() >= 2;
		alleles.clear();
		for (int c : candidates) for (int j = 0 ; j < type ; j ++) alleles.push_back((c >> (type - 1 - j)) & 1);
		return (int)candidates.size();
	});
	return errors;
}

int genotype_graph::buildDuo(std::vector < bool > & P0, std::vector < bool > & P1, std::vector < bool > & PM, std::vector < bool > & C0, std::vector < bool > & C1, std::vector < bool > & CM) {
	sorvane_assert(type == 3);
	std::vector < bool > * A0[2] = { &P0, &C0 }, * A1[2] = { &P1, &C1 }, * AM[2] = { &PM, &CM };
	return buildFamily(A0, A1, AM);
}

int genotype_graph::buildTrio(std::vector < bool > & F0, std::vector < bool > & F1, std::vector < bool > & FM, std::vector < bool > & M0, std::vector < bool > & M1, std::vector < bool > & MM, std::vector < bool > & C0, std::vector < bool > & C1, std::vector < bool > & CM) {
	sorvane_assert(type == 4);
	std::vector < bool > * A0[3] = { &F0, &M0, &C0 }, * A1[3] = { &F1, &M1, &C1 }, * AM[3] = { &FM, &MM, &CM };
	return buildFamily(A0, A1, AM);
}

// Moves cur, the fragment of each track, through transition `choice` of group g. The two
// tracks of an unordered pair may cross: each follows the byte whose previous side is its
// own fragment, and when both previous sides are equal a coin decides which goes where.
void genotype_graph::followPath(int g, int choice, int * cur) {
	int pos = (choice + probsI[g]) * type;
	if (g > 0 && unordered()) {
		unsigned char b0 = trans[pos], b1 = trans[pos + 1];
		if ((b0 & 15) != (b1 & 15)) {
			cur[0] = (((b0 & 15) == cur[0]) ? b0 : b1) >> 4;
			cur[1] = (((b1 & 15) == cur[1]) ? b1 : b0) >> 4;
		} else if (0.5 > putils::getRandom()) {
			cur[0] = b1 >> 4;
			cur[1] = b0 >> 4;
		} else {
			cur[0] = b0 >> 4;
			cur[1] = b1 >> 4;
		}
	} else for (int j = 0 ; j < type ; j ++) cur[j] = trans[pos + j] >> 4;
}

void genotype_graph::buildGuesses(std::vector < chaplotype > & H, std::vector < int > & indexes, std::vector < int > & path) {
	int cur[4] = { 0, 0, 0, 0 }, offset = 0;
	for (unsigned int g = 0 ; g + 1 < probsI.size() ; g ++) {
		followPath(g, path[g], cur);
		for (int j = 0 ; j < type ; j ++) H[indexes[j]].copyBits(offset, Haps, HapsI[g] + cur[j] * HapsS[g], HapsS[g]);
		offset += HapsS[g];
	}
}

// Segments first .. last only, path[0] being the choice in group first.
void genotype_graph::buildGuesses(std::vector < std::vector < bool > > & out, std::vector < int > & path, int first, int last) {
	sorvane_assert((int)out.size() >= type && last < (int)HapsS.size());
	int cur[4] = { 0, 0, 0, 0 };
	for (int j = 0 ; j < type ; j ++) out[j].clear();
	for (int g = first ; g <= last ; g ++) {
		followPath(g, path[g - first], cur);
		for (int j = 0 ; j < type ; j ++)
			for (unsigned int i = 0 ; i < HapsS[g] ; i ++) out[j].push_back(getA(g, cur[j], i));
	}
}
