#include "objects/chaplotype.h"
#include "utils/futils.h"
#include "utils/vector_clones.h"

#include <algorithm>
#include <climits>
#include <cstdint>
#include <cstring>

// Sites where a and b differ over the bytes first .. last, in words of 8 bytes and then
// bytes. Past `limit` the count gives up with 1000000000; the sum never decreases, so testing
// it after each word rather than after each byte returns the same values while keeping the
// inner loop free of branches.
SORVANE_POPCOUNT_CLONES static int distanceBytes(const unsigned char * a, const unsigned char * b, int first, int last, int limit) {
	int d = 0, k = first;
	for (; k + 7 <= last ; k += 8) {
		uint64_t u, v;
		memcpy(&u, a + k, 8);
		memcpy(&v, b + k, 8);
		d += __builtin_popcountll(u ^ v);
		if (d > limit) return 1000000000;
	}
	for (; k <= last ; k ++) {
		d += __builtin_popcount(a[k] ^ b[k]);
		if (d > limit) return 1000000000;
	}
	return d;
}

int chaplotype::hamming(const chaplotype & o) const {
	return distanceBytes(data.data(), o.data.data(), 0, (int)data.size() - 1, INT_MAX);
}

int chaplotype::hamming(const chaplotype & o, int start, int stop) const {
	return distanceBytes(data.data(), o.data.data(), start >> 3, stop >> 3, INT_MAX);
}

int chaplotype::hamming(const chaplotype & o, int start, int stop, int limit) const {
	return distanceBytes(data.data(), o.data.data(), start >> 3, stop >> 3, limit);
}

// Bytes needed for n bits: ceil(n / 8).
static unsigned int byteCount(unsigned int n) {
	return (n >> 3) + ((n & 7) ? 1 : 0);
}

chaplotype::chaplotype() : n(0) {
}

chaplotype::chaplotype(unsigned int _n) : data(byteCount(_n), 0), n(_n) {
}

chaplotype::chaplotype(const std::vector < bool > & v) : data(byteCount(v.size()), 0), n(v.size()) {
	for (unsigned int i = 0 ; i < n ; i ++) if (v[i]) set(i, true);
}

void chaplotype::clear() {
	std::vector < unsigned char > ().swap(data);
	n = 0;
}

// Single bits up to a byte boundary of this haplotype, then whole bytes.
void chaplotype::copyBits(int at, const chaplotype & src, int from, int count) {
	int i = 0;
	for (; i < count && ((at + i) & 7) ; i ++) set(at + i, src.get(from + i));
	for (; i + 8 <= count ; i += 8) data[(at + i) >> 3] = src.bits8(from + i);
	for (; i < count ; i ++) set(at + i, src.get(from + i));
}

void chaplotype::push_back(const std::vector < bool > & v) {
	unsigned int first = n;
	n += v.size();
	data.resize(byteCount(n), 0);
	for (unsigned int i = 0 ; i < v.size() ; i ++) set(first + i, v[i]);
}

std::string chaplotype::toString() const {
	std::string s(n, '0');
	for (unsigned int i = 0 ; i < n ; i ++) if (get(i)) s[i] = '1';
	return s;
}

// Bit count, byte count, then the bytes, all in native byte order.
void chaplotype::write(ofile & f) const {
	int nbytes = data.size();
	f.write((const char *)&n, sizeof(n));
	f.write((const char *)&nbytes, sizeof(nbytes));
	f.write((const char *)data.data(), nbytes);
}

// A byte count that does not match the bit count fails: the bits would be read outside
// the bytes.
bool chaplotype::read(ifile & f) {
	int32_t nbytes = 0;
	n = 0;
	data.clear();
	if (!futils::readValue(f, n) || !futils::readValue(f, nbytes)) return false;
	if (nbytes < 0 || (unsigned int)nbytes != byteCount(n)) return false;
	return futils::readValues(f, data, nbytes);
}

// Eight words of eight bytes as an 8 x 8 matrix, row i in word i and column j in byte j,
// transposed in place: swapping the off-diagonal blocks of 4, then of 2, then of 1.
static void transposeBytes(uint64_t * x) {
	for (int i = 0 ; i < 4 ; i ++) {
		const uint64_t t = ((x[i] >> 32) ^ x[i + 4]) & 0x00000000FFFFFFFFULL;
		x[i] ^= t << 32;
		x[i + 4] ^= t;
	}
	for (int i : { 0, 1, 4, 5 }) {
		const uint64_t t = ((x[i] >> 16) ^ x[i + 2]) & 0x0000FFFF0000FFFFULL;
		x[i] ^= t << 16;
		x[i + 2] ^= t;
	}
	for (int i : { 0, 2, 4, 6 }) {
		const uint64_t t = ((x[i] >> 8) ^ x[i + 1]) & 0x00FF00FF00FF00FFULL;
		x[i] ^= t << 8;
		x[i + 1] ^= t;
	}
}

// A word as an 8 x 8 bit matrix, row i in byte i and column j in bit j, transposed: the
// same swaps of off-diagonal blocks within one word.
static uint64_t transposeBits(uint64_t x) {
	uint64_t t = (x ^ (x >> 7)) & 0x00AA00AA00AA00AAULL;
	x ^= t ^ (t << 7);
	t = (x ^ (x >> 14)) & 0x0000CCCC0000CCCCULL;
	x ^= t ^ (t << 14);
	t = (x ^ (x >> 28)) & 0x00000000F0F0F0F0ULL;
	return x ^ t ^ (t << 28);
}

void chaplotype::transpose8(const unsigned char * const * rows, int first, int n, unsigned char * out, size_t stride) {
	// Eight haplotypes by 64 sites at a time: their bytes transposed to one word per byte of
	// sites, each word then a matrix of 8 haplotypes by 8 sites, transposed to one byte per site.
	for (int b0 = 0 ; b0 < n ; b0 += 8) {
		const int m = std::min(8, n - b0);
		uint64_t x[8] = { 0 };
		for (int i = 0 ; i < 8 ; i ++) memcpy(&x[i], rows[i] + first + b0, m);
		transposeBytes(x);
		for (int j = 0 ; j < m ; j ++) {
			const uint64_t y = transposeBits(x[j]);
			unsigned char * site = out + (size_t)8 * (b0 + j) * stride;
			for (int t = 0 ; t < 8 ; t ++) site[t * stride] = y >> (8 * t);
		}
	}
}
