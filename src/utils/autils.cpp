#include "utils/autils.h"
#include "utils/putils.h"

namespace autils {

int max(const std::vector < double > & v) {
	double best = -1e300;
	int idx = 0;
	for (size_t i = 0 ; i < v.size() ; i ++) if (v[i] > best) { best = v[i]; idx = i; }
	return idx;
}

int max(const std::vector < int > & v) {
	int best = -1000000000;
	int idx = 0;
	for (size_t i = 0 ; i < v.size() ; i ++) if (v[i] > best) { best = v[i]; idx = i; }
	return idx;
}

void findUniqueSet(const std::vector < bool > & in, std::vector < int > & out) {
	out.clear();
	for (size_t i = 0 ; i < in.size() ; i ++) if (in[i]) out.push_back(i);
}

int checkDuo(int p0, int p1, int c0, int c1) {
	bool parent_het = (p0 != p1);
	bool child_het = (c0 != c1);
	if (!parent_het && !child_het && p0 != c0) return -1;
	if (parent_het && !child_het) return 1;
	return 0;
}

// A trio is consistent when some allele of the father and some allele of the mother
// make the child's genotype; the count is the heterozygous parents whose transmitted
// allele is then forced.
int checkTrio(int f0, int f1, int m0, int m1, int c0, int c1) {
	bool fromFather[2] = { false, false };
	bool fromMother[2] = { false, false };
	int fa[2] = { f0, f1 }, ma[2] = { m0, m1 };
	bool ok = false;
	for (int i = 0 ; i < 2 ; i ++) for (int j = 0 ; j < 2 ; j ++) {
		if ((fa[i] == c0 && ma[j] == c1) || (fa[i] == c1 && ma[j] == c0)) {
			ok = true;
			fromFather[fa[i]] = true;
			fromMother[ma[j]] = true;
		}
	}
	if (!ok) return -1;
	int n = 0;
	if (f0 != f1 && fromFather[0] != fromFather[1]) n ++;
	if (m0 != m1 && fromMother[0] != fromMother[1]) n ++;
	return n;
}

void decompose(int min_length, std::vector < std::vector < int > > & in, std::vector < std::vector < std::vector < int > > > & out) {
	std::vector < std::pair < int, int > > pieces;
	decompose(min_length, 0, (int)in.size() - 1, pieces);
	for (const std::pair < int, int > & p : pieces) out.emplace_back(in.begin() + p.first, in.begin() + p.second + 1);
}

// The same cut on the entries first .. last of a list, each piece given by the indices of
// its first and last entries; the random draws come in the same order.
void decompose(int min_length, int first, int last, std::vector < std::pair < int, int > > & out) {
	int n = last - first + 1;
	if (2 * min_length > n || n == 2) {
		out.emplace_back(first, last);
		return;
	}
	int k = min_length + (int)(putils::getRandom() * (n - 2 * min_length));
	decompose(min_length, first, first + k, out);
	decompose(min_length, first + k - 1, last, out);
}

}
