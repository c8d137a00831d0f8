#include "objects/genotype_graph.h"
#include "utils/autils.h"
#include "utils/myException.h"
#include "utils/putils.h"
#include "utils/sutils.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdlib>
#include <iostream>
#include <limits>
#include <sstream>

// Sums below 1e-300 are taken as underflow.
static const double underflow = 1e-300;

// The message is only made on failure: this runs for every group of every graph.
static void checkTotal(double total, const std::string & where, const char * direction, const std::string & name, int g, const char * label) {
	if (!(underflow > total) && !std::isnan(total)) return;
	const std::string fields = " / i=" + name + " b=" + sutils::int2str(g) + label + sutils::double2str(total, 10);
	throw myException((std::isnan(total) ? "NaN in " : "Underflow in ") + where + direction + fields);
}

// Product (or sum) over the tracks of the cell that each byte selects in its track's matrix.
// An unordered pair of distinct fragments stands for both of its orders, hence doubled.
double genotype_graph::weight(int pos, const matrix * const * m, bool additive, bool doubling) const {
	const unsigned char * b = trans.data() + pos;
	double p = additive ? 0.0 : 1.0;
	for (int j = 0 ; j < type ; j ++) {
		double v = (*m[j])[b[j] & 15][b[j] >> 4];
		if (additive) p += v;
		else p *= v;
	}
	if (doubling && b[0] != b[1]) p += p;
	return p;
}

double genotype_graph::computeProbLD(int pos, std::vector < std::vector < double > > & m, bool additive) {
	const matrix * tables[4] = { &m, &m, &m, &m };
	return weight(pos, tables, additive, unordered());
}

double genotype_graph::computeProbLD(int pos, std::vector < std::vector < std::vector < double > > > & m, bool additive) {
	const matrix * tables[4] = { NULL, NULL, NULL, NULL };
	for (int j = 0 ; j < type ; j ++) tables[j] = &m[j];
	return weight(pos, tables, additive, false);
}

double genotype_graph::combineProbsWithLikes(int g, std::vector < double > & p) {
	double total = 0.0;
	for (unsigned int k = 0 ; k < probsC[g] ; k ++) {
		float l = likes[probsI[g] + k];
		if (std::isnan(p[k]) || std::isnan(l)) {
			std::cerr << p[k] << " " << l << std::endl;
			exit(1);
		}
		p[k] *= l;
		total += p[k];
	}
	return total;
}

unsigned int genotype_graph::largestGroup() const {
	return *std::max_element(probsC.begin(), probsC.end());
}

template < class Tables > int genotype_graph::storeWith(Tables tables, bool doubling, const std::string & where) {
	std::vector < double > w;
	w.reserve(largestGroup());
	int fallbacks = 0;
	for (unsigned int g = 0 ; g < probsC.size() ; g ++) {
		const matrix * m[4];
		tables(g, m);
		auto fill = [&](bool additive) {
			double total = 0.0;
			w.assign(probsC[g], 0.0);
			for (unsigned int k = 0 ; k < probsC[g] ; k ++) total += (w[k] = weight((probsI[g] + k) * type, m, additive, doubling));
			return total;
		};
		double total = fill(false);
		if (total < underflow) {
			total = fill(true);
			fallbacks ++;
		}
		if (!likes.empty()) total = combineProbsWithLikes(g, w);
		checkTotal(total, where, "", name, g, " p=");
		for (unsigned int k = 0 ; k < probsC[g] ; k ++) probs[probsI[g] + k] = (float)(probs[probsI[g] + k] + w[k] / total);
	}
	return fallbacks;
}

int genotype_graph::store(std::vector < std::vector < std::vector < double > > > & prob) {
	return storeWith([&](int g, const matrix ** m) { for (int j = 0 ; j < type ; j ++) m[j] = &prob[g]; }, unordered(), "storeUNR");
}

int genotype_graph::store(std::vector < std::vector < std::vector < std::vector < double > > > > & probT) {
	return storeWith([&](int g, const matrix ** m) { for (int j = 0 ; j < type ; j ++) m[j] = &probT[j][g]; }, false, "storePED");
}

// One draw decides the direction (backward unless below 0.5, NaN included), then each group
// in that order gets its transition from `choose`, which sees the choices made so far.
template < class Choose > void genotype_graph::walk(std::vector < int > & path, Choose choose) {
	const int G = probsC.size();
	path.assign(G, -1);
	bool backward = !(putils::getRandom() < 0.5);
	for (int i = 0 ; i < G ; i ++) {
		int g = backward ? G - 1 - i : i;
		path[g] = choose(g, backward);
	}
}

// Weights of the transitions of group g that fit the neighbour already chosen in the walk
// (none for the group the walk starts from); the others stay 0. Returns their total.
template < class Weight > double genotype_graph::groupWeights(int g, bool backward, const std::vector < int > & path, std::vector < double > & w, Weight weigh) const {
	const int last = probsC.size() - 1;
	double total = 0.0;
	w.assign(probsC[g], 0.0);
	for (unsigned int k = 0 ; k < probsC[g] ; k ++) {
		int t = probsI[g] + k, pos = t * type;
		if (backward && g < last && !linked(pos, (probsI[g + 1] + path[g + 1]) * type)) continue;
		if (!backward && g > 0 && !linked((probsI[g - 1] + path[g - 1]) * type, pos)) continue;
		total += (w[k] = weigh(pos, t));
	}
	return total;
}

template < class Tables > int genotype_graph::sampleWith(std::vector < chaplotype > & H, std::vector < int > & indexes, Tables tables, bool doubling, bool additive, const std::string & where) {
	std::vector < int > path;
	std::vector < double > w;
	w.reserve(largestGroup());
	int fallbacks = 0;
	walk(path, [&](int g, bool backward) {
		const matrix * m[4];
		tables(g, m);
		auto fill = [&](bool add) { return groupWeights(g, backward, path, w, [&](int pos, int) { return weight(pos, m, add, doubling); }); };
		double total = fill(additive);
		if (underflow > total) {
			total = fill(true);
			fallbacks ++;
		}
		if (!likes.empty()) total = combineProbsWithLikes(g, w);
		checkTotal(total, where, backward ? "B" : "F", name, g, " sp=");
		return putils::sample(w, total);
	});
	buildGuesses(H, indexes, path);
	return fallbacks;
}

int genotype_graph::sample(std::vector < chaplotype > & H, std::vector < int > & indexes, std::vector < std::vector < std::vector < double > > > & prob, bool additive) {
	return sampleWith(H, indexes, [&](int g, const matrix ** m) { for (int j = 0 ; j < type ; j ++) m[j] = &prob[g]; }, unordered(), additive, "samplingUnr");
}

int genotype_graph::sample(std::vector < chaplotype > & H, std::vector < int > & indexes, std::vector < std::vector < std::vector < std::vector < double > > > > & probT, bool additive) {
	return sampleWith(H, indexes, [&](int g, const matrix ** m) { for (int j = 0 ; j < type ; j ++) m[j] = &probT[j][g]; }, false, additive, "samplingPed");
}

void genotype_graph::sample(std::vector < chaplotype > & H, std::vector < int > & indexes, bool uniform) {
	std::vector < int > path;
	std::vector < double > w;
	w.reserve(largestGroup());
	walk(path, [&](int g, bool backward) {
		double total = groupWeights(g, backward, path, w, [&](int, int t) { return uniform ? 1.0 : (double)probs[t]; });
		return putils::sample(w, total);
	});
	buildGuesses(H, indexes, path);
}

// Viterbi over the transitions, each group rescaled to sum 1; on ties the first stays, and a
// transition that no path reaches with any weight keeps its first linked predecessor.
void genotype_graph::maximize(std::vector < chaplotype > & H, std::vector < int > & indexes) {
	const int G = probsC.size();
	std::vector < double > V(probs.size(), 0.0);
	std::vector < int > back(probs.size(), -1);
	for (unsigned int k = 0 ; k < probsC[0] ; k ++) V[k] = probs[k];
	for (int g = 1 ; g < G ; g ++) {
		double total = 0.0;
		for (unsigned int t = probsI[g] ; t < probsI[g] + probsC[g] ; t ++)
			for (unsigned int m = probsI[g - 1] ; m < probsI[g] ; m ++) {
				if (!linked(m * type, t * type)) continue;
				double x = probs[t] * V[m];
				if (back[t] < 0 || V[t] < x) {
					total += x - V[t];
					V[t] = x;
					back[t] = m;
				}
			}
		if (total > 0) for (unsigned int t = probsI[g] ; t < probsI[g] + probsC[g] ; t ++) V[t] /= total;
	}
	std::vector < double > last(V.begin() + probsI[G - 1], V.end());
	std::vector < int > path(G);
	int t = probsI[G - 1] + autils::max(last);
	for (int g = G - 1 ; g >= 0 ; g --) {
		path[g] = t - probsI[g];
		t = back[t];
	}
	buildGuesses(H, indexes, path);
}

static void sizeByGroups(std::vector < std::vector < double > > & X, const std::vector < unsigned int > & probsC) {
	X.resize(probsC.size());
	for (unsigned int g = 0 ; g < probsC.size() ; g ++) X[g].assign(probsC[g], 0.0);
}

static void rescale(std::vector < double > & x, double total) {
	for (double & v : x) v /= total;
}

void genotype_graph::forward(std::vector < std::vector < double > > & F) {
	forward(probs, F);
}

void genotype_graph::backward(std::vector < std::vector < double > > & B) {
	backward(probs, B);
}

void genotype_graph::forward(const std::vector < float > & w, std::vector < std::vector < double > > & F) const {
	sizeByGroups(F, probsC);
	for (unsigned int k = 0 ; k < probsC[0] ; k ++) F[0][k] = w[k];
	for (unsigned int g = 1 ; g < probsC.size() ; g ++) {
		double total = 0.0;
		for (unsigned int k = 0 ; k < probsC[g] ; k ++) {
			int t = probsI[g] + k;
			for (unsigned int m = 0 ; m < probsC[g - 1] ; m ++)
				if (linked((probsI[g - 1] + m) * type, t * type)) F[g][k] += w[t] * F[g - 1][m];
			total += F[g][k];
		}
		rescale(F[g], total);
	}
}

void genotype_graph::backward(const std::vector < float > & w, std::vector < std::vector < double > > & B) const {
	sizeByGroups(B, probsC);
	const int last = probsC.size() - 1;
	B[last].assign(probsC[last], 1.0);
	for (int g = last - 1 ; g >= 0 ; g --) {
		double total = 0.0;
		for (unsigned int k = 0 ; k < probsC[g] ; k ++) {
			int pos = (probsI[g] + k) * type;
			for (unsigned int m = 0 ; m < probsC[g + 1] ; m ++) {
				int t = probsI[g + 1] + m;
				if (linked(pos, t * type)) B[g][k] += w[t] * B[g + 1][m];
			}
			total += B[g][k];
		}
		rescale(B[g], total);
	}
}

// The stored probabilities of the groups, made conditional on the previous-side state, are a
// Markov chain over the transitions whose paths are the phasings of the unit. Each member is
// followed along a path as buildGuesses does: in an unordered pair the haplotype on a byte
// goes on to the byte of the next transition whose previous side is its fragment, either way
// with even chances when both carry the same fragment.
void genotype_graph::phaseConfidence(int a, int b, const std::vector < int > & sites, const std::vector < unsigned char > & alleles, std::vector < double > & pp) const {
	pp.assign(sites.empty() ? 0 : sites.size() - 1, std::numeric_limits < double >::quiet_NaN());
	if (sites.size() < 2) return;
	std::vector < float > w;
	conditionals(w);
	std::vector < std::vector < double > > F, B;
	forward(w, F);
	backward(w, B);
	// The segment of each site and the site's place in it.
	std::vector < int > seg, local;
	int s = 0, first = 0;
	for (int site : sites) {
		while (s < (int)HapsS.size() && site >= first + (int)HapsS[s]) first += HapsS[s ++];
		if (s == (int)HapsS.size()) break;
		seg.push_back(s);
		local.push_back(site - first);
	}
	for (unsigned int k = 1 ; k < seg.size() ; k ++)
		pp[k - 1] = pairProbability(w, F, B, a, b, seg[k - 1], local[k - 1], seg[k], local[k], alleles[k - 1], alleles[k]);
}

// Mass of the paths per transition of group g (whose next side is segment g), split by the
// alleles at the first site of the pair of the haplotypes on bytes a (bit 0) and b (bit 1).
double genotype_graph::pairProbability(const std::vector < float > & w, const std::vector < std::vector < double > > & F, const std::vector < std::vector < double > > & B, int a, int b, int s1, int l1, int s2, int l2, unsigned char x1, unsigned char x2) const {
	typedef std::array < double, 4 > split;
	auto fragment = [&](int g, unsigned int k, int track) { return trans[(probsI[g] + k) * type + track] >> 4; };
	std::vector < split > mass (probsC[s1], split { 0.0, 0.0, 0.0, 0.0 }), next;
	for (unsigned int k = 0 ; k < probsC[s1] ; k ++) mass[k][getA(s1, fragment(s1, k, a), l1) | (getA(s1, fragment(s1, k, b), l1) << 1)] = F[s1][k];
	for (int g = s1 + 1 ; g <= s2 ; g ++) {
		next.assign(probsC[g], split { 0.0, 0.0, 0.0, 0.0 });
		double total = 0.0;
		for (unsigned int k = 0 ; k < probsC[g] ; k ++) {
			const int t = probsI[g] + k, pos = t * type;
			const int lo0 = trans[pos] & 15, lo1 = type > 1 ? trans[pos + 1] & 15 : lo0;
			for (unsigned int m = 0 ; m < probsC[g - 1] ; m ++) {
				const int from = (probsI[g - 1] + m) * type;
				if (!linked(from, pos)) continue;
				// Share of the mass whose haplotypes change bytes on the way.
				double crossed = 0.0;
				if (unordered()) crossed = (lo0 == lo1) ? 0.5 : ((trans[from] >> 4) != lo0);
				for (int x = 0 ; x < 4 ; x ++) {
					const double v = mass[m][x] * w[t];
					next[k][x] += (1.0 - crossed) * v;
					next[k][((x & 1) << 1) | (x >> 1)] += crossed * v;
					total += v;
				}
			}
		}
		if (total > 0) for (split & s : next) for (double & v : s) v /= total;
		mass.swap(next);
	}
	// The two haplotypes of the pair as two-bit codes (first site bit 0), against the written ones.
	const int w0 = (x1 & 1) | ((x2 & 1) << 1), w1 = (x1 >> 1) | ((x2 >> 1) << 1);
	double agree = 0.0, total = 0.0;
	for (unsigned int k = 0 ; k < probsC[s2] ; k ++) for (int x = 0 ; x < 4 ; x ++) {
		const double v = mass[k][x] * B[s2][k];
		const int h0 = (x & 1) | (getA(s2, fragment(s2, k, a), l2) << 1), h1 = (x >> 1) | (getA(s2, fragment(s2, k, b), l2) << 1);
		total += v;
		if ((h0 == w0 && h1 == w1) || (h0 == w1 && h1 == w0)) agree += v;
	}
	return total > 0 ? agree / total : std::numeric_limits < double >::quiet_NaN();
}

void genotype_graph::expectation(std::vector < std::vector < double > > & F, std::vector < std::vector < double > > & B) {
	for (unsigned int g = 0 ; g < probsC.size() ; g ++) {
		double total = 0.0;
		for (unsigned int k = 0 ; k < probsC[g] ; k ++) total += F[g][k] * B[g][k];
		for (unsigned int k = 0 ; k < probsC[g] ; k ++) probs[probsI[g] + k] = (float)(F[g][k] * B[g][k] / total);
	}
}

// The diagnostic line of a likelihood of exactly 1, written in one piece: the error stream
// flushes after every insertion, and in families such lines come by the million.
static void reportCertain(const float * triple) {
	std::ostringstream line;
	line << triple[0] << " " << triple[1] << " " << triple[2] << "\n";
	std::cerr << line.str();
}

// Per transition, the log-likelihood of the genotypes that its fragments spell at the
// missing sites of the segments on both sides, then exp relative to the group's best so
// that it cannot underflow. A member's genotype is the sum of the alleles of two tracks
// (the same track twice for a haploid). probs is the working space.
void genotype_graph::computeLikes(const std::vector < float > * const * GL, const int (* genotypes)[2], int members) {
	auto side = [&](int seg, int first, int t, int shift) {
		for (unsigned int i = 0 ; i < HapsS[seg] ; i ++) {
			int site = first + i, u[4];
			if (!Miss[site]) continue;
			for (int j = 0 ; j < type ; j ++) u[j] = getA(seg, (trans[t * type + j] >> shift) & 15, i);
			for (int m = 0 ; m < members ; m ++) {
				const std::vector < float > & L = *GL[m];
				float l = L[3 * site + u[genotypes[m][0]] + u[genotypes[m][1]]];
				if (l == 1.0f) reportCertain(&L[3 * site]);
				probs[t] += logf(l);
			}
		}
	};
	const int last = probsC.size() - 1;
	int start = 0;
	for (int g = 0 ; g <= last ; g ++) {
		double largest = -1e9;
		for (unsigned int t = probsI[g] ; t < probsI[g] + probsC[g] ; t ++) {
			probs[t] = 0.0f;
			if (g > 0) side(g - 1, start - HapsS[g - 1], t, 0);
			if (g < last) side(g, start, t, 4);
			largest = std::max(largest, (double)probs[t]);
		}
		double sum = 0.0;
		for (unsigned int t = probsI[g] ; t < probsI[g] + probsC[g] ; t ++) sum += (probs[t] = (float)exp(probs[t] - largest));
		// Likelihoods that rule out every transition of a group cannot weigh it: this happens
		// around a site opened for a whole family because its hard calls break Mendel's laws.
		if (sum == 0.0) std::fill(probs.begin() + probsI[g], probs.begin() + probsI[g] + probsC[g], 1.0f);
		if (g < last) start += HapsS[g];
	}
	normalize();
	makeLikelihoods();
}

void genotype_graph::computeLikesFromGLsHap(std::vector < float > & GL) {
	static const int genotypes[1][2] = { { 0, 0 } };
	const std::vector < float > * L[1] = { &GL };
	computeLikes(L, genotypes, 1);
}

void genotype_graph::computeLikesFromGLsUnr(std::vector < float > & GL) {
	static const int genotypes[1][2] = { { 0, 1 } };
	const std::vector < float > * L[1] = { &GL };
	computeLikes(L, genotypes, 1);
}

void genotype_graph::computeLikesFromGLsDuo(std::vector < float > & GLp, std::vector < float > & GLc) {
	static const int genotypes[2][2] = { { 0, 1 }, { 0, 2 } };
	const std::vector < float > * L[2] = { &GLp, &GLc };
	computeLikes(L, genotypes, 2);
}

void genotype_graph::computeLikesFromGLsTri(std::vector < float > & GLf, std::vector < float > & GLm, std::vector < float > & GLc) {
	static const int genotypes[3][2] = { { 0, 1 }, { 2, 3 }, { 0, 3 } };
	const std::vector < float > * L[3] = { &GLf, &GLm, &GLc };
	computeLikes(L, genotypes, 3);
}

void genotype_graph::makeLikelihoods() {
	likes = probs;
	std::fill(probs.begin(), probs.end(), 0.0f);
}
