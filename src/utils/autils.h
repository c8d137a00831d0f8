#ifndef _AUTILS_H
#define _AUTILS_H

#include <utility>
#include <vector>

// Numeric helpers: argmax, index sets, Mendel tests and random decomposition.
namespace autils {
	int max(const std::vector < double > & v);
	int max(const std::vector < int > & v);
	void findUniqueSet(const std::vector < bool > & in, std::vector < int > & out);
	int checkDuo(int p0, int p1, int c0, int c1);
	int checkTrio(int f0, int f1, int m0, int m1, int c0, int c1);
	void decompose(int min_length, std::vector < std::vector < int > > & in, std::vector < std::vector < std::vector < int > > > & out);
	void decompose(int min_length, int first, int last, std::vector < std::pair < int, int > > & out);
}

#endif
