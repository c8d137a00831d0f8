#include "objects/snp_set.h"
#include "objects/chaplotype.h"
#include "utils/assertion.h"

snp_set::snp_set() {
}

snp_set::~snp_set() {
	for (snp * s : vecS) delete s;
}

int snp_set::size() {
	return vecS.size();
}

snp * snp_set::getByIndex(int i) {
	return vecS[i];
}

void snp_set::put(snp * s) {
	vecS.push_back(s);
	mapS.insert(std::make_pair(s->bp, s));
}

void snp_set::indexing() {
	for (int i = 0 ; i < (int)vecS.size() ; i ++) vecS[i]->idx = i;
}

snp * snp_set::getByRef(int bp, std::string & a0, std::string & a1) {
	auto range = mapS.equal_range(bp);
	for (auto it = range.first ; it != range.second ; ++ it)
		if (it->second->a0 == a0 && it->second->a1 == a1) return it->second;
	return nullptr;
}

// strand: 0 same alleles, 1 swapped alleles, -1 several sites match (ambiguous),
// -2 sites at bp but none with these alleles, -3 no site at bp.
snp * snp_set::getByRef(int bp, std::string & a0, std::string & a1, int & strand) {
	auto range = mapS.equal_range(bp);
	if (range.first == range.second) {
		strand = -3;
		return nullptr;
	}
	snp * match = nullptr;
	int nmatch = 0;
	for (auto it = range.first ; it != range.second ; ++ it) {
		int s = it->second->strand(a0, a1);
		if (s < 0) continue;
		if (nmatch == 0) {
			match = it->second;
			strand = s;
		}
		nmatch ++;
	}
	if (nmatch == 0) {
		strand = -2;
		return nullptr;
	}
	if (nmatch > 1) {
		strand = -1;
		return nullptr;
	}
	return match;
}

int snp_set::setCentiMorgan(std::vector < int > & pos, std::vector < double > & cm) {
	sorvane_assert(pos.size() == cm.size());
	int nset = 0;
	for (int i = 0 ; i < (int)pos.size() ; i ++) {
		auto range = mapS.equal_range(pos[i]);
		for (auto it = range.first ; it != range.second ; ++ it) {
			it->second->cm = cm[i];
			nset ++;
		}
	}
	return nset;
}

// Sites outside the map are extrapolated with the map's mean rate, sites inside it
// linearly between the flanking map positions. A site on the first or last map position
// has its map value by both formulas; taking the outer branches for them keeps the
// interpolation away from a neighbour that does not exist.
int snp_set::interpolateCentiMorgan(std::vector < int > & pos, std::vector < double > & cm) {
	sorvane_assert(pos.size() == cm.size() && pos.size() >= 2);
	const int last = pos.size() - 1;
	const double rate = (cm[last] - cm[0]) / (pos[last] - pos[0]);
	int ninterpolated = 0;
	for (snp * s : vecS) {
		if (s->cm >= 0) continue;
		if (s->bp <= pos[0]) s->cm = cm[0] - (pos[0] - s->bp) * rate;
		else if (s->bp >= pos[last]) s->cm = (s->bp - pos[last]) * rate + cm[last];
		else {
			int lo = 0;
			while (pos[lo + 1] < s->bp) lo ++;
			int hi = last;
			while (pos[hi] > s->bp) hi --;
			s->cm = (s->bp - pos[lo]) * (cm[hi + 1] - cm[lo]) / (double)(pos[hi + 1] - pos[lo]) + cm[lo];
		}
		ninterpolated ++;
	}
	if (!vecS.empty() && vecS[0]->cm < 0) {
		double shift = - vecS[0]->cm;
		for (snp * s : vecS) s->cm += shift;
	}
	return ninterpolated;
}

std::string snp_set::toString(chaplotype & h, std::string sep) {
	return toString(h, 0, sep);
}

std::string snp_set::toString(chaplotype & h, int first, std::string sep) {
	sorvane_assert(first >= 0 && first + h.size() <= size());
	std::string s;
	for (int i = 0 ; i < h.size() ; i ++) {
		if (i) s += sep;
		s += vecS[first + i]->get(h[i]);
	}
	return s;
}

std::string snp_set::toString(const std::vector < bool > & h, std::vector < int > & sites, std::string sep) {
	sorvane_assert(h.size() >= sites.size());
	std::string s;
	for (int i = 0 ; i < (int)sites.size() ; i ++) {
		if (i) s += sep;
		s += vecS[sites[i]]->get(h[i]);
	}
	return s;
}
