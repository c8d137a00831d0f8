#include "objects/chaplotype.h"
#include "utils/putils.h"
#include "test_utils.h"

#include <algorithm>

using testutils::TempDir;

namespace {

std::vector < bool > randomBits(int n, double p1) {
	std::vector < bool > v(n);
	for (int i = 0 ; i < n ; i ++) v[i] = putils::getRandom() < p1;
	return v;
}

// Copy of a with each bit flipped with probability p.
std::vector < bool > mutate(const std::vector < bool > & a, double p) {
	std::vector < bool > v = a;
	for (size_t i = 0 ; i < v.size() ; i ++) if (putils::getRandom() < p) v[i] = !v[i];
	return v;
}

// Per-bit references over the bytes start >> 3 .. stop >> 3, bits past the end counting as 0.
int naiveHamming(const std::vector < bool > & a, const std::vector < bool > & b, int start, int stop) {
	int d = 0;
	for (int i = (start >> 3) * 8 ; i < (stop >> 3) * 8 + 8 && i < (int)a.size() ; i ++) d += a[i] != b[i];
	return d;
}

int naivePerfectMatch(const std::vector < bool > & a, const std::vector < bool > & b, int start, int stop) {
	int best = 0, cur = 0;
	for (int k = start >> 3 ; k <= (stop >> 3) ; k ++) {
		bool equal = true;
		for (int i = k * 8 ; i < k * 8 + 8 && i < (int)a.size() ; i ++) equal = equal && a[i] == b[i];
		cur = equal ? cur + 8 : 0;
		best = std::max(best, cur);
	}
	return best;
}

}

// Bit i sits in byte i >> 3 at bit i & 7 from the least significant bit.
TEST(chaplotype, BitLayoutSetAndPushBack) {
	EXPECT_TRUE(chaplotype().data.empty());
	EXPECT_EQ(chaplotype(13).data, std::vector < unsigned char > ({ 0, 0 }));
	EXPECT_EQ(chaplotype(13).toString(), "0000000000000");
	chaplotype h(std::vector < bool > ({ 1, 0, 1, 1, 0, 0, 0, 0, 0, 1 }));
	EXPECT_EQ(h.data, std::vector < unsigned char > ({ 0x0D, 0x02 }));
	h.set(1, true);
	h.set(0, false);
	h.set(1, true);
	EXPECT_EQ(h.toString(), "0111000001");
	h.push_back(std::vector < bool > ());
	EXPECT_EQ(h.size(), 10);
	h.push_back(std::vector < bool > ({ 1, 1, 0, 0, 0, 0, 1, 1 }));
	EXPECT_EQ(h.size(), 18);
	EXPECT_EQ(h.data, std::vector < unsigned char > ({ 0x0E, 0x0E, 0x03 }));
	EXPECT_EQ(h.toString(), "011100000111000011");
	h.clear();
	EXPECT_TRUE(h.size() == 0 && h.data.empty());
}

// Byte ranges widen to whole bytes: ranges ending inside a byte, short ranges under the
// 8-byte blocks and long ones across them, on lengths that are no multiple of 8.
TEST(chaplotype, DistancesMatchPerBitReference) {
	putils::initRandom(20240611);
	for (int n : { 1, 7, 9, 61, 67, 133, 1001 }) {
		for (int rep = 0 ; rep < 20 ; rep ++) {
			std::vector < bool > va = randomBits(n, 0.4);
			std::vector < bool > vb = mutate(va, rep % 2 ? 0.02 : 0.3);
			chaplotype a(va), b(vb);
			ASSERT_EQ(a.hamming(b), naiveHamming(va, vb, 0, n - 1));
			for (int r = 0 ; r < 10 ; r ++) {
				int start = putils::getRandom(n), stop = start + putils::getRandom(n - start);
				int d = naiveHamming(va, vb, start, stop);
				ASSERT_EQ(a.hamming(b, start, stop), d) << n << " " << start << " " << stop;
				ASSERT_EQ(b.hamming(a, start, stop), d);
				ASSERT_EQ(a.hamming(b, start, stop, d), d);
				ASSERT_EQ(a.hamming(b, start, stop, d + 5), d);
				if (d > 0) {
					ASSERT_EQ(a.hamming(b, start, stop, d - 1), 1000000000);
				}
				ASSERT_EQ(a.perfectmatch(b, start, stop, 0), naivePerfectMatch(va, vb, start, stop));
				ASSERT_EQ(a.perfectmatch(b, start, stop, -3), naivePerfectMatch(va, vb, start, stop));
				ASSERT_EQ(a.perfectmatch(b, start, stop, 1), 0);
			}
		}
	}
}

TEST(chaplotype, DistanceEdgeCases) {
	// One difference at bit 5: hamming(0, 0) still sees it, the byte range being 0 .. 7.
	chaplotype a(20), b(20);
	b.set(5, true);
	b.set(17, true);
	// Byte-wide ranges; the limit is tested from the first byte on.
	EXPECT_EQ(std::vector < int > ({ a.hamming(b, 0, 0), a.hamming(b, 8, 15), a.hamming(b, 3, 16), a.hamming(b, 16, 8), a.hamming(b, 16, 8, -1), a.hamming(b, 0, 19, 2) }), std::vector < int > ({ 1, 0, 2, 0, 0, 2 }));
	EXPECT_TRUE(a.hamming(b, 0, 19, 1) == 1000000000 && a.hamming(b, 0, 19, 0) == 1000000000);
	EXPECT_TRUE(a.hamming(b) == 2 && chaplotype().hamming(chaplotype()) == 0);

	chaplotype x(100), y(100);
	EXPECT_EQ(x.perfectmatch(y, 0, 99, 0), 104);
	EXPECT_EQ(x.perfectmatch(y, 0, 99, 1), 0);
	EXPECT_EQ(x.perfectmatch(y, 10, 10, 0), 8);
	EXPECT_EQ(x.perfectmatch(y, 20, 10, 0), 0);
	y.set(40, true);
	EXPECT_EQ(x.perfectmatch(y, 0, 99, 0), 56);
	EXPECT_EQ(x.perfectmatch(y, 0, 47, 0), 40);
}

TEST(chaplotype, StreamRoundTrip) {
	TempDir d;
	putils::initRandom(5);
	chaplotype h(randomBits(77, 0.5)), empty;
	for (std::string name : { "h.bin", "h.bin.gz", "h.bin.bz2" }) {
		SCOPED_TRACE(name);
		ofile out(d.file(name), true);
		h.write(out);
		empty.write(out);
		h.write(out);
		out.close();
		ifile in(d.file(name), true);
		chaplotype r1, r2(5), r3;
		EXPECT_TRUE(r1.read(in) && r2.read(in) && r3.read(in));
		EXPECT_EQ(r1.toString(), h.toString());
		EXPECT_EQ(r1.data, h.data);
		EXPECT_TRUE(r2.size() == 0 && r2.data.empty());
		EXPECT_EQ(r3.data, h.data);
		in.close();
	}
	std::string raw = d.read("h.bin");
	EXPECT_EQ(raw.size(), 2 * (8 + 10) + 8u);
	EXPECT_EQ(raw.substr(18, 8), std::string(8, '\0'));

	// Cut inside the bytes of the first haplotype.
	d.write("cut.bin", raw.substr(0, 12));
	ifile in(d.file("cut.bin"), true);
	chaplotype r;
	EXPECT_FALSE(r.read(in));
	in.close();
}
