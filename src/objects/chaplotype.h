#ifndef _CHAPLOTYPE_H
#define _CHAPLOTYPE_H

#include "utils/ifile.h"
#include "utils/ofile.h"

#include <string>
#include <vector>

// Number of set bits of each byte value.
extern const int distance_lookup[256];

// A haplotype packed 8 sites a byte: bit i sits in byte i >> 3 at bit i & 7, counted from
// the least significant bit. Distances work on whole bytes: a range is widened to the
// bytes that hold its ends, trading precision for speed in conditioning state selection.
class chaplotype {
public:
	std::vector < unsigned char > data;
	unsigned int n;

	chaplotype();
	chaplotype(unsigned int n);
	chaplotype(const std::vector < bool > & v);
	chaplotype(const chaplotype & o) = default;
	chaplotype & operator=(const chaplotype & o) = default;

	void clear();

	int size() const { return n; }
	int get(int i) const { return (data[i >> 3] >> (i & 7)) & 1; }
	int operator[](int i) const { return get(i); }
	void set(int i, bool b) {
		if (b) data[i >> 3] |= (unsigned char)(1 << (i & 7));
		else data[i >> 3] &= (unsigned char)~(1 << (i & 7));
	}
	void push_back(const std::vector < bool > & v);
	std::string toString() const;

	int hamming(const chaplotype & o) const;
	int hamming(const chaplotype & o, int start, int stop) const;
	int hamming(const chaplotype & o, int start, int stop, int limit) const;
	int perfectmatch(const chaplotype & o, int start, int stop, int limit) const;
	void switcherror(const chaplotype & a, const chaplotype & b, int start, int stop, int & nswitch, int & nerror) const;

	void write(ofile & f) const;
	bool read(ifile & f);

private:
	// Sum of the popcounts of 8 consecutive XORed byte pairs.
	static int distanceBlock(const unsigned char * a, const unsigned char * b);
	// Distance over the bytes first .. last, both included.
	int distanceBytes(const chaplotype & o, int first, int last) const;
};

void switcherror(const chaplotype & a0, const chaplotype & a1, const chaplotype & b0, const chaplotype & b1, int start, int stop, int & nswitch, int & nerror);

inline int chaplotype::distanceBlock(const unsigned char * a, const unsigned char * b) {
	return distance_lookup[a[0] ^ b[0]] + distance_lookup[a[1] ^ b[1]]
		+ distance_lookup[a[2] ^ b[2]] + distance_lookup[a[3] ^ b[3]]
		+ distance_lookup[a[4] ^ b[4]] + distance_lookup[a[5] ^ b[5]]
		+ distance_lookup[a[6] ^ b[6]] + distance_lookup[a[7] ^ b[7]];
}

inline int chaplotype::distanceBytes(const chaplotype & o, int first, int last) const {
	const unsigned char * a = data.data();
	const unsigned char * b = o.data.data();
	int d = 0, k = first;
	for (; k + 7 <= last; k += 8) d += distanceBlock(a + k, b + k);
	for (; k <= last; k ++) d += distance_lookup[a[k] ^ b[k]];
	return d;
}

inline int chaplotype::hamming(const chaplotype & o) const {
	return distanceBytes(o, 0, (int)data.size() - 1);
}

inline int chaplotype::hamming(const chaplotype & o, int start, int stop) const {
	return distanceBytes(o, start >> 3, stop >> 3);
}

// Gives up with 1000000000 once the running distance exceeds the limit. The sum never
// decreases, so testing it after each block of 8 bytes rather than after each byte
// returns exactly the same values while keeping the inner loop free of branches.
inline int chaplotype::hamming(const chaplotype & o, int start, int stop, int limit) const {
	const unsigned char * a = data.data();
	const unsigned char * b = o.data.data();
	const int last = stop >> 3;
	int d = 0, k = start >> 3;
	for (; k + 7 <= last; k += 8) {
		d += distanceBlock(a + k, b + k);
		if (d > limit) return 1000000000;
	}
	for (; k <= last; k ++) {
		d += distance_lookup[a[k] ^ b[k]];
		if (d > limit) return 1000000000;
	}
	return d;
}

// Longest run of equal bytes, in bits. The run is abandoned with 0 as soon as the bytes
// left cannot reach the limit; as that test also fires on the last byte for any positive
// limit, only a limit of 0 or below lets a run length through. Callers rely on this.
inline int chaplotype::perfectmatch(const chaplotype & o, int start, int stop, int limit) const {
	const unsigned char * a = data.data();
	const unsigned char * b = o.data.data();
	const int last = stop >> 3;
	int cur = 0, best = 0;
	for (int k = start >> 3; k <= last; k ++) {
		if (a[k] == b[k]) cur += 8;
		else {
			if (cur > best) best = cur;
			cur = 0;
		}
		if ((last - k) * 8 < limit) return 0;
	}
	return cur > best ? cur : best;
}

#endif
