#include "modules/rare_phaser.h"
#include "objects/genotype_graph.h"
#include "objects/snp_set.h"
#include "utils/lfile.h"
#include "utils/sutils.h"
#include "utils/vector_clones.h"

#include <algorithm>
#include <cstdint>
#include <cstring>

rare_phaser::rare_phaser(genhap_set & _GH, const std::vector < std::vector < int > > * _pinned) : GH(_GH), pinned(_pinned), n_sites(_GH.sites->size()) {
	bool map = n_sites > 0;
	for (int l = 0 ; l < n_sites ; l ++) map = map && GH.sites->getByIndex(l)->cm >= 0.0;
	for (int l = 0 ; l < n_sites ; l ++) {
		const snp * s = GH.sites->getByIndex(l);
		position.push_back(map ? s->cm : (double)s->bp);
	}
	radius = map ? radius_cm : radius_bp;
}

// Whole 64-bit words of the XOR where they fit, bytes at the ends; the bits outside
// first .. last and the bit of site l are masked out. The bound is checked a word at a time.
SORVANE_POPCOUNT_CLONES int rare_phaser::distance(int a, int c, int first, int last, int l, int bound) const {
	const unsigned char * x = GH.vecH[a].data.data(), * y = GH.vecH[c].data.data();
	const int b0 = first >> 3, b1 = last >> 3;
	auto byte = [&](int k) {
		unsigned int d = x[k] ^ y[k];
		if (k == b0) d &= 0xFFu << (first & 7);
		if (k == b1) d &= 0xFFu >> (7 - (last & 7));
		if (k == (l >> 3)) d &= ~(1u << (l & 7));
		return __builtin_popcount(d);
	};
	int n = byte(b0);
	int k = b0 + 1;
	for (; k + 8 <= b1 ; k += 8) {
		if (k <= (l >> 3) && (l >> 3) < k + 8) {
			for (int j = k ; j < k + 8 ; j ++) n += byte(j);
			continue;
		}
		uint64_t u, v;
		memcpy(&u, x + k, 8);
		memcpy(&v, y + k, 8);
		n += __builtin_popcountll(u ^ v);
		if (n >= bound) return n;
	}
	for (; k <= b1 ; k ++) n += byte(k);
	return n;
}

// The first differing site on each side is found a byte at a time: the bits of the XOR of
// the two haplotypes' bytes, masked to the side's sites.
double rare_phaser::match(int a, int c, int l) const {
	const unsigned char * x = GH.vecH[a].data.data(), * y = GH.vecH[c].data.data();
	const int bytes = GH.vecH[a].data.size();
	int right = n_sites;
	for (int k = (l + 1) >> 3 ; k < bytes && l + 1 < n_sites ; k ++) {
		unsigned int d = x[k] ^ y[k];
		if (k == (l + 1) >> 3) d &= 0xFFu << ((l + 1) & 7);
		if (d) {
			right = std::min(n_sites, 8 * k + __builtin_ctz(d));
			break;
		}
	}
	int left = -1;
	for (int k = (l - 1) >> 3 ; k >= 0 && l > 0 ; k --) {
		unsigned int d = x[k] ^ y[k];
		if (k == (l - 1) >> 3) d &= 0xFFu >> (7 - ((l - 1) & 7));
		if (d) {
			left = 8 * k + 31 - __builtin_clz(d);
			break;
		}
	}
	return position[right - 1] - position[left + 1];
}

// Each of the pair against every haplotype but the two: the nearest by distance over the
// neighbourhood, then the longest match.
bool rare_phaser::farther(int a, int b, int l) const {
	int first = l, last = l;
	while (first > 0 && position[l] - position[first - 1] <= radius) first --;
	while (last + 1 < n_sites && position[last + 1] - position[l] <= radius) last ++;
	int near[2] = { n_sites, n_sites };
	for (int c = 0 ; c < (int)GH.vecH.size() ; c ++) if (c != a && c != b) {
		near[0] = std::min(near[0], distance(a, c, first, last, l, near[0]));
		near[1] = std::min(near[1], distance(b, c, first, last, l, near[1]));
	}
	if (near[0] != near[1]) return near[0] > near[1];
	// Matches are only needed to break a tie.
	double longest[2] = { -1.0, -1.0 };
	for (int c = 0 ; c < (int)GH.vecH.size() ; c ++) if (c != a && c != b) {
		longest[0] = std::max(longest[0], match(a, c, l));
		longest[1] = std::max(longest[1], match(b, c, l));
	}
	return longest[0] < longest[1];
}

bool rare_phaser::movable(int h, int l) const {
	if (h >= (int)GH.hap2ind.size()) return false;
	const int i = GH.hap2ind[h];
	const genotype_graph * g = GH.vecG[i];
	if (g->type != 2 || g->scaffolded) return false;
	return !pinned || i >= (int)pinned->size() || !std::binary_search((*pinned)[i].begin(), (*pinned)[i].end(), l);
}

int rare_phaser::partner(int h) const {
	const std::vector < int > & pair = GH.ind2hap[GH.hap2ind[h]];
	return pair[0] == h ? pair[1] : pair[0];
}

int rare_phaser::phase(work_queue & workers) {
	LOG.println("\nPlacing singletons from the haplotypes around them");
	const int H = GH.vecH.size();
	// Per singleton: its site and its carrier.
	std::vector < std::pair < int, int > > singletons;
	for (int l = 0 ; l < n_sites ; l ++) {
		int ones = 0, last_one = -1, last_zero = -1;
		for (int h = 0 ; h < H ; h ++) {
			if (GH.vecH[h].get(l)) {
				ones ++;
				last_one = h;
			} else last_zero = h;
		}
		if (ones == 1 || ones == H - 1) singletons.push_back({ l, ones == 1 ? last_one : last_zero });
	}
	std::vector < char > move(singletons.size(), 0);
	workers.run(singletons.size(), [&](int i, int) {
		const int l = singletons[i].first, carrier = singletons[i].second;
		move[i] = movable(carrier, l) && farther(partner(carrier), carrier, l);
	});
	int n_moved = 0;
	for (unsigned int i = 0 ; i < singletons.size() ; i ++) if (move[i]) {
		const int l = singletons[i].first;
		chaplotype & a = GH.vecH[singletons[i].second], & b = GH.vecH[partner(singletons[i].second)];
		const int x = a.get(l);
		a.set(l, b.get(l));
		b.set(l, x);
		n_moved ++;
	}
	LOG.println("  * " + sutils::int2str(singletons.size()) + " singletons / " + sutils::int2str(n_moved) + " moved to the other haplotype");
	return n_moved;
}
