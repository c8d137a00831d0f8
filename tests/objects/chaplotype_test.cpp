#include "objects/chaplotype.h"
#include "utils/putils.h"
#include "test_utils.h"

#include <algorithm>

typedef std::vector < unsigned char > bytes;

namespace {

std::vector < bool > randomBits(int n, double p1) {
	std::vector < bool > v(n);
	for (int i = 0 ; i < n ; i ++) v[i] = putils::getRandom() < p1;
	return v;
}

}

// Bit i sits in byte i >> 3 at bit i & 7 from the least significant bit.
TEST(chaplotype, BitLayoutSetAndPushBack) {
	EXPECT_TRUE(chaplotype().data.empty() && chaplotype(13).data == bytes({ 0, 0 }) && chaplotype(13).toString() == "0000000000000");
	chaplotype h(std::vector < bool > ({ 1, 0, 1, 1, 0, 0, 0, 0, 0, 1 }));
	EXPECT_EQ(h.data, bytes({ 0x0D, 0x02 }));
	h.set(1, true);
	h.set(0, false);
	h.push_back(std::vector < bool > ());
	h.push_back(std::vector < bool > ({ 1, 1, 0, 0, 0, 0, 1, 1 }));
	EXPECT_TRUE(h.size() == 18 && h.data == bytes({ 0x0E, 0x0E, 0x03 }) && h.toString() == "011100000111000011");
	h.clear();
	EXPECT_TRUE(h.size() == 0 && h.data.empty());
}

// Against per-bit references over the bytes start >> 3 .. stop >> 3 (none when reversed), bits
// past the end counting as equal: ranges ending inside a byte, short ranges under the 8-byte
// blocks and long ones across them, on lengths that are no multiple of 8. A limit below the
// distance gives up with 1000000000 on any non-empty range; a match needs a limit of 0 or less.
TEST(chaplotype, DistancesMatchPerBitReference) {
	putils::initRandom(20240611);
	EXPECT_EQ(chaplotype().hamming(chaplotype()), 0);
	for (int n : { 1, 7, 9, 61, 67, 100, 133, 1001 }) for (int rep = 0 ; rep < 30 ; rep ++) {
		std::vector < bool > va = randomBits(n, 0.4), vb = va;
		for (size_t i = 0 ; i < vb.size() ; i ++) if (putils::getRandom() < std::vector < double > ({ 0.3, 0.02, 0.0 })[rep % 3]) vb[i] = !vb[i];
		chaplotype a(va), b(vb);
		auto differ = [&](int k) { for (int i = 8 * k ; i < 8 * k + 8 && i < n ; i ++) if (va[i] != vb[i]) return true; return false; };
		int all = 0;
		for (int i = 0 ; i < n ; i ++) all += va[i] != vb[i];
		ASSERT_EQ(a.hamming(b), all);
		for (int r = 0 ; r < 10 ; r ++) {
			const int start = putils::getRandom(n), stop = r % 5 ? start + putils::getRandom(n - start) : putils::getRandom(n);
			int d = 0, run = 0, longest = 0;
			for (int k = start >> 3 ; k <= stop >> 3 ; k ++) {
				for (int i = 8 * k ; i < 8 * k + 8 && i < n ; i ++) d += va[i] != vb[i];
				run = differ(k) ? 0 : run + 8;
				longest = std::max(longest, run);
			}
			SCOPED_TRACE(std::to_string(n) + " " + std::to_string(start) + " " + std::to_string(stop));
			ASSERT_TRUE(a.hamming(b, start, stop) == d && b.hamming(a, start, stop) == d && a.hamming(b, start, stop, d) == d && a.hamming(b, start, stop, d + 5) == d);
			ASSERT_EQ(a.hamming(b, start, stop, d - 1), (start >> 3) > (stop >> 3) ? 0 : 1000000000);
			ASSERT_TRUE(a.perfectmatch(b, start, stop, 0) == longest && a.perfectmatch(b, start, stop, -3) == longest && a.perfectmatch(b, start, stop, 1) == 0);
		}
	}
}

// Plain, gzip and bzip2 files; an empty haplotype in between; a file cut inside the bytes of
// the first haplotype reads nothing.
TEST(chaplotype, StreamRoundTrip) {
	testutils::TempDir d;
	putils::initRandom(5);
	chaplotype h(randomBits(77, 0.5)), empty;
	for (std::string name : { "h.bin", "h.bin.gz", "h.bin.bz2" }) {
		ofile out(d.file(name), true);
		for (chaplotype * x : { &h, &empty, &h }) x->write(out);
		out.close();
		ifile in(d.file(name), true);
		chaplotype r1, r2(5), r3;
		EXPECT_TRUE(r1.read(in) && r2.read(in) && r3.read(in)) << name;
		EXPECT_TRUE(r1.toString() == h.toString() && r1.data == h.data && r2.size() == 0 && r2.data.empty() && r3.data == h.data) << name;
		in.close();
	}
	std::string raw = d.read("h.bin");
	EXPECT_EQ(raw.size(), 2 * (8 + 10) + 8u);
	EXPECT_EQ(raw.substr(18, 8), std::string(8, '\0'));
	d.write("cut.bin", raw.substr(0, 12));
	ifile in(d.file("cut.bin"), true);
	chaplotype r;
	EXPECT_FALSE(r.read(in));
	in.close();
}
