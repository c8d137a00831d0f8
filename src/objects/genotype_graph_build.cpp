#include "objects/genotype_graph.h"
#include "utils/assertion.h"
#include "utils/putils.h"

#include <algorithm>
#include <utility>

// One allele per track. A fragment extended by an allele is made once per site and then
// shared by every state and track that asks for it, so fragments come in order of first use.
static void expandTracks(std::vector < std::vector < bool > > & oldHaps, std::vector < std::vector < bool > > & newHaps, std::vector < std::vector < int > > & index, std::vector < int > & state, std::vector < std::vector < int > > & newStates, const int * alleles) {
	newStates.emplace_back(state.size());
	std::vector < int > & next = newStates.back();
	for (unsigned int j = 0 ; j < state.size() ; j ++) {
		int & cell = index[state[j]][alleles[j]];
		if (cell < 0) {
			cell = newHaps.size();
			newHaps.push_back(oldHaps[state[j]]);
			newHaps.back().push_back(alleles[j]);
		}
		next[j] = cell;
	}
}

void expand(std::vector < std::vector < bool > > & oldHaps, std::vector < std::vector < bool > > & newHaps, std::vector < std::vector < int > > & index, std::vector < int > & state, std::vector < std::vector < int > > & newStates, int a0, int a1) {
	sorvane_assert(state.size() == 2);
	const int a[2] = { a0, a1 };
	expandTracks(oldHaps, newHaps, index, state, newStates, a);
}

void expand(std::vector < std::vector < bool > > & oldHaps, std::vector < std::vector < bool > > & newHaps, std::vector < std::vector < int > > & index, std::vector < int > & state, std::vector < std::vector < int > > & newStates, int a0, int a1, int a2) {
	sorvane_assert(state.size() == 3);
	const int a[3] = { a0, a1, a2 };
	expandTracks(oldHaps, newHaps, index, state, newStates, a);
}

void expand(std::vector < std::vector < bool > > & oldHaps, std::vector < std::vector < bool > > & newHaps, std::vector < std::vector < int > > & index, std::vector < int > & state, std::vector < std::vector < int > > & newStates, int a0, int a1, int a2, int a3) {
	sorvane_assert(state.size() == 4);
	const int a[4] = { a0, a1, a2, a3 };
	expandTracks(oldHaps, newHaps, index, state, newStates, a);
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
static void expandState(std::vector < std::vector < bool > > & haps, std::vector < std::vector < bool > > & newHaps, std::vector < std::vector < int > > & index, std::vector < int > & state, std::vector < std::vector < int > > & newStates, const int * a) {
	switch (state.size()) {
	case 1: expandTracks(haps, newHaps, index, state, newStates, a); break;
	case 2: expand(haps, newHaps, index, state, newStates, a[0], a[1]); break;
	case 3: expand(haps, newHaps, index, state, newStates, a[0], a[1], a[2]); break;
	default: expand(haps, newHaps, index, state, newStates, a[0], a[1], a[2], a[3]);
	}
}

// Extends the segment by one site: every state by every allele combination of the site,
// n per combination in `alleles`; combinations from `n_always` on only extend states whose
// two fragments differ, since an unordered pair of equal fragments would make the same
// pair twice. Returns false, the segment unchanged, when the result breaks the limits.
static bool extendSegment(std::vector < std::vector < bool > > & haps, std::vector < std::vector < int > > & states, std::vector < std::vector < bool > > & newHaps, std::vector < std::vector < int > > & newStates, std::vector < std::vector < int > > & index, const std::vector < int > & alleles, int n_always, unsigned int max_states) {
	int n = states[0].size(), n_options = alleles.size() / n;
	sorvane_assert(n_always == n_options || n == 2);
	if (n_options == 1 && std::all_of(alleles.begin(), alleles.end(), [&](int a) { return a == alleles[0]; })) {
		// One allele for all tracks: each fragment grows in place. Fragments are already in
		// the order in which the states first use them, so this is what expanding gives.
		for (std::vector < bool > & h : haps) h.push_back(alleles[0]);
		return true;
	}
	newHaps.clear();
	newStates.clear();
	for (unsigned int r = 0 ; r < haps.size() ; r ++) index[r][0] = index[r][1] = -1;
	for (std::vector < int > & s : states)
		for (int o = 0 ; o < n_options ; o ++)
			if (o < n_always || s[0] != s[1]) expandState(haps, newHaps, index, s, newStates, &alleles[o * n]);
	if (newStates.size() >= max_states || newHaps.size() >= 9) return false;
	haps.swap(newHaps);
	states.swap(newStates);
	return true;
}

// Sites are taken from left to right and a segment is closed at the first site that would
// take it to 9 fragments or to max_states states. rule(l, alleles, amb, miss) gives the
// allele combinations of site l (see extendSegment), its Ambs and Miss bits, and returns
// n_always; it is called once per site, also when the site opens the next segment.
template < class SiteRule >
void genotype_graph::buildSegments(int n_sites, unsigned int max_states, SiteRule rule) {
	sorvane_assert(n_sites > 0 && HapsS.empty() && probsI.empty());
	std::vector < std::vector < bool > > haps, newHaps;
	std::vector < std::vector < int > > states, newStates;
	std::vector < std::vector < int > > index(8, std::vector < int > (2, -1));
	std::vector < std::vector < std::vector < bool > > > segHaps;
	std::vector < std::vector < std::vector < int > > > segStates;
	std::vector < int > alleles;
	bool amb = false, miss = false;
	Ambs.reserve(n_sites);
	Miss.reserve(n_sites);
	int n_always = rule(0, alleles, amb, miss);
	int l = 0;
	while (l < n_sites) {
		haps.assign(1, std::vector < bool > ());
		states.assign(1, std::vector < int > (type, 0));
		bool fresh = true;
		while (l < n_sites && extendSegment(haps, states, newHaps, newStates, index, alleles, n_always, max_states)) {
			Ambs.push_back(amb);
			Miss.push_back(miss);
			fresh = false;
			if (++ l < n_sites) n_always = rule(l, alleles, amb, miss);
		}
		// Any site fits an empty segment; otherwise this would never end.
		sorvane_assert(!fresh);
		segHaps.push_back(std::move(haps));
		segStates.push_back(std::move(states));
	}
	pushChain(segHaps, segStates);
}

// One transition per track: previous-side and next-side fragment, the next side read in
// reverse track order for the crossed transition of an unordered pair.
static void addTransition(std::vector < std::vector < int > > & t, const std::vector < int > & p, const std::vector < int > & q, bool crossed) {
	int n = p.size();
	for (int j = 0 ; j < n ; j ++) {
		t[2 * j].push_back(p[j]);
		t[2 * j + 1].push_back(q[crossed ? n - 1 - j : j]);
	}
}

// Fills the columns of t with the transitions from the states P of one segment to the states
// Q of the next: their full product, and with `crossing`, for pairs whose fragments differ
// on both sides, a second, crossed transition that holds the other relative phase of the
// two segments.
static void makeGroup(const std::vector < std::vector < int > > & P, const std::vector < std::vector < int > > & Q, bool crossing, std::vector < std::vector < int > > & t) {
	for (std::vector < int > & column : t) column.clear();
	for (const std::vector < int > & p : P) for (const std::vector < int > & q : Q) {
		addTransition(t, p, q, false);
		if (crossing && p[0] != p[1] && q[0] != q[1]) addTransition(t, p, q, true);
	}
}

// The number of transitions that makeGroup makes, known before any is made.
static unsigned int groupSize(const std::vector < std::vector < int > > & P, const std::vector < std::vector < int > > & Q, bool crossing) {
	auto unequal = [](const std::vector < std::vector < int > > & X) {
		return std::count_if(X.begin(), X.end(), [](const std::vector < int > & x) { return x[0] != x[1]; });
	};
	return P.size() * Q.size() + (crossing ? unequal(P) * unequal(Q) : 0);
}

// Pushes the closed segments and the groups of transitions between their states, the
// virtual start and end having the one state of fragment 0 on every track. Every vector is
// sized exactly before it is filled.
void genotype_graph::pushChain(std::vector < std::vector < std::vector < bool > > > & segHaps, std::vector < std::vector < std::vector < int > > > & segStates) {
	int S = segHaps.size();
	unsigned int bits = 0, rows = 0;
	const std::vector < std::vector < int > > ends(1, std::vector < int > (type, 0));
	auto side = [&](int s) -> const std::vector < std::vector < int > > & { return (s < 0 || s >= S) ? ends : segStates[s]; };
	for (int s = 0 ; s < S ; s ++) bits += segHaps[s].size() * segHaps[s][0].size();
	for (int g = 0 ; g <= S ; g ++) rows += groupSize(side(g - 1), side(g), unordered());
	Haps.data.reserve((bits + 7) / 8);
	HapsI.reserve(S);
	HapsC.reserve(S);
	HapsS.reserve(S);
	probsI.reserve(S + 1);
	probsC.reserve(S + 1);
	probs.reserve(rows);
	trans.reserve(rows * type);
	for (int s = 0 ; s < S ; s ++) pushHaps(segHaps[s]);
	std::vector < std::vector < int > > t(2 * type);
	for (int g = 0 ; g <= S ; g ++) {
		makeGroup(side(g - 1), side(g), unordered(), t);
		pushTrans(t);
	}
	sorvane_assert(probs.size() == rows);
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
