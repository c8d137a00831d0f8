#ifndef _CHAPLOTYPE_H
#define _CHAPLOTYPE_H

#include "utils/ifile.h"
#include "utils/ofile.h"

#include <string>
#include <vector>

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
	// Bits i .. i + 7 as one byte, bit i lowest; bits past the end read 0.
	unsigned int bits8(int i) const {
		const int b = i >> 3, size = data.size();
		unsigned int v = data[b] | (b + 1 < size ? data[b + 1] << 8 : 0);
		v >>= i & 7;
		return (i + 8 <= (int)n ? v : v & ((1u << (n - i)) - 1)) & 0xFFu;
	}
	// Bits at .. at + count - 1 set to bits from .. from + count - 1 of src.
	void copyBits(int at, const chaplotype & src, int from, int count);
	void push_back(const std::vector < bool > & v);
	// The bytes first .. first + n - 1 of the data of 8 haplotypes, turned site by site: for
	// each of their sites j (from site 8 * first), the byte out[j * stride] gets bit i set if
	// haplotype rows[i] carries allele 1 there. The rows are read up to first + n.
	static void transpose8(const unsigned char * const * rows, int first, int n, unsigned char * out, size_t stride);
	std::string toString() const;

	int hamming(const chaplotype & o) const;
	int hamming(const chaplotype & o, int start, int stop) const;
	int hamming(const chaplotype & o, int start, int stop, int limit) const;
	int perfectmatch(const chaplotype & o, int start, int stop, int limit) const;

	void write(ofile & f) const;
	bool read(ifile & f);
};

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
