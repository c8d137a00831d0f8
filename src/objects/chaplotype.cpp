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
