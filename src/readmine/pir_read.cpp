#include "readmine/pir_read.h"

#include <algorithm>

pir_read::pir_read() {
}

void pir_read::add(int s, char b, int q) {
	int k = std::lower_bound(site.begin(), site.end(), s) - site.begin();
	if (k < (int)site.size() && site[k] == s) {
		if (q > quality[k]) {
			base[k] = b;
			quality[k] = q;
		}
		return;
	}
	site.insert(site.begin() + k, s);
	base.insert(base.begin() + k, b);
	quality.insert(quality.begin() + k, q);
}

void pir_read::merge(const pir_read & other) {
	for (int k = 0 ; k < other.size() ; k ++) add(other.site[k], other.base[k], other.quality[k]);
}

int pir_read::size() const {
	return site.size();
}

std::string pir_read::toString() const {
	std::string s;
	for (int k = 0 ; k < size() ; k ++) {
		if (k) s += " ";
		s += std::to_string(site[k]) + " " + base[k] + " " + std::to_string(quality[k]);
	}
	return s;
}
