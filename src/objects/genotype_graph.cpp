#include "objects/genotype_graph.h"
#include "utils/assertion.h"

#include <algorithm>
#include <utility>

genotype_graph::genotype_graph() : genotype(-1, -1), scaffolded(false) {
}

genotype_graph::genotype_graph(int _type, int _famID) : genotype(_type, _famID), scaffolded(false) {
}

void genotype_graph::pushHaps(std::vector < std::vector < bool > > & haps) {
	sorvane_assert(!haps.empty() && haps.size() <= 8);
	HapsI.reserve(HapsI.size() + 1);
	HapsC.reserve(HapsC.size() + 1);
	HapsS.reserve(HapsS.size() + 1);
	HapsI.push_back(Haps.size());
	HapsC.push_back(haps.size());
	HapsS.push_back(haps[0].size());
	for (std::vector < bool > & h : haps) {
		sorvane_assert(h.size() == haps[0].size());
		Haps.push_back(h);
	}
}

// Grows probs and trans by exactly the new group: a builder that reserved the whole graph
// beforehand never reallocates here.
void genotype_graph::pushTrans(std::vector < std::vector < int > > & t) {
	sorvane_assert((int)t.size() == 2 * type);
	unsigned int rows = t[0].size();
	probsI.push_back(probs.size());
	probsC.push_back(rows);
	probs.reserve(probs.size() + rows);
	probs.insert(probs.end(), rows, 0.0f);
	trans.reserve(trans.size() + rows * type);
	for (unsigned int k = 0 ; k < rows ; k ++) for (int j = 0 ; j < type ; j ++) {
		sorvane_assert(t[2 * j][k] >= 0 && t[2 * j][k] < 16 && t[2 * j + 1][k] >= 0 && t[2 * j + 1][k] < 16);
		trans.push_back((unsigned char)((t[2 * j + 1][k] << 4) + t[2 * j][k]));
	}
}

int genotype_graph::getB(int site) const {
	int start = 0;
	for (unsigned int s = 0 ; s < HapsS.size() ; s ++) {
		if (site >= start && site < start + (int)HapsS[s]) return s;
		start += HapsS[s];
	}
	return -1;
}

// One segment, no ambiguity: the single path gets all the mass.
bool genotype_graph::phased() {
	if (probsI.size() != 2 || probs.size() != 2) return false;
	probs[0] = probs[1] = 1.0f;
	return true;
}

int genotype_graph::maxN(int g, int pos) const {
	int best = -1;
	for (unsigned int t = probsI[g] ; t < probsI[g] + probsC[g] ; t ++)
		if (linked(pos, t * type) && (best < 0 || probs[t] > probs[best])) best = t;
	return best;
}

int genotype_graph::maxP(int g, int pos) const {
	int best = -1;
	for (unsigned int t = probsI[g] ; t < probsI[g] + probsC[g] ; t ++)
		if (linked(t * type, pos) && (best < 0 || probs[t] > probs[best])) best = t;
	return best;
}

void genotype_graph::mask1D(int g, std::vector < bool > & seen) const {
	seen.assign(256, false);
	for (unsigned int b = probsI[g] * type ; b < (probsI[g] + probsC[g]) * type ; b ++) seen[trans[b]] = true;
}

void genotype_graph::reset() {
	std::fill(probs.begin(), probs.end(), 0.0f);
}

void genotype_graph::initialise() {
	for (unsigned int g = 0 ; g < probsC.size() ; g ++) if (probsC[g] > 0) {
		float p = (float)(1.0 / probsC[g]);
		std::fill(probs.begin() + probsI[g], probs.begin() + probsI[g] + probsC[g], p);
	}
}

// No guard: a group without mass turns to NaN.
void genotype_graph::normalize() {
	for (unsigned int g = 0 ; g < probsC.size() ; g ++) {
		double sum = 0.0;
		for (unsigned int t = probsI[g] ; t < probsI[g] + probsC[g] ; t ++) sum += probs[t];
		for (unsigned int t = probsI[g] ; t < probsI[g] + probsC[g] ; t ++) probs[t] = (float)(probs[t] / sum);
	}
}

// Decreasing probability within each group; equal values end in whatever order std::sort
// leaves them.
void genotype_graph::sort() {
	std::vector < std::pair < float, int > > order;
	std::vector < float > p, l;
	std::vector < unsigned char > t;
	for (unsigned int g = 0 ; g < probsC.size() ; g ++) {
		unsigned int first = probsI[g], count = probsC[g];
		if (count < 2) continue;
		order.clear();
		for (unsigned int k = 0 ; k < count ; k ++) order.push_back(std::make_pair(probs[first + k], k));
		std::sort(order.begin(), order.end(), [](const std::pair < float, int > & a, const std::pair < float, int > & b) { return a.first > b.first; });
		p.assign(probs.begin() + first, probs.begin() + first + count);
		t.assign(trans.begin() + first * type, trans.begin() + (first + count) * type);
		if (!likes.empty()) l.assign(likes.begin() + first, likes.begin() + first + count);
		for (unsigned int k = 0 ; k < count ; k ++) {
			int from = order[k].second;
			probs[first + k] = p[from];
			for (int j = 0 ; j < type ; j ++) trans[(first + k) * type + j] = t[from * type + j];
			if (!likes.empty()) likes[first + k] = l[from];
		}
	}
}
