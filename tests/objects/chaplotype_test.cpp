#include "objects/genotype_graph_test_utils.h"
#include "test_utils.h"

using graphtest::randomBits;

// Per-bit references over bytes start >> 3 .. stop >> 3; a limit below the distance gives 1000000000.
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

// A gzip round trip, an empty haplotype included; a file cut inside the first haplotype reads nothing.
TEST(chaplotype, StreamRoundTrip) {
	testutils::TempDir d;
	putils::initRandom(5);
	chaplotype h(randomBits(77, 0.5)), empty, r1, r2(5), cut;
	ofile out(d.file("h.bin.gz"), true);
	for (chaplotype * x : { &h, &empty }) x->write(out);
	out.close();
	ifile in(d.file("h.bin.gz"), true);
	EXPECT_TRUE(r1.read(in) && r2.read(in) && r1.data == h.data && r1.size() == 77 && r2.size() == 0 && r2.data.empty());
	d.write("cut.bin", testutils::readCompressed(d.file("h.bin.gz")).substr(0, 12));
	ifile c(d.file("cut.bin"), true);
	EXPECT_FALSE(cut.read(c));
}

// Bit ranges at every alignment, up to the last bit, against per-bit copies.
TEST(chaplotype, BitRangesMatchPerBitReference) {
	putils::initRandom(11);
	const std::vector < bool > vs = randomBits(77, 0.5);
	const chaplotype src(vs);
	for (int i = 0 ; i < 77 ; i ++) {
		unsigned int v = 0;
		for (int j = 0 ; j < 8 && i + j < 77 ; j ++) v |= vs[i + j] << j;
		ASSERT_EQ(src.bits8(i), v) << i;
	}
	for (int rep = 0 ; rep < 200 ; rep ++) {
		const int from = putils::getRandom(77), count = putils::getRandom(78 - from), at = putils::getRandom(90 - count);
		std::vector < bool > vd = randomBits(90, 0.5), ref = vd;
		for (int i = 0 ; i < count ; i ++) ref[at + i] = vs[from + i];
		chaplotype dst(vd);
		dst.copyBits(at, src, from, count);
		ASSERT_EQ(dst.data, chaplotype(ref).data) << from << " " << count << " " << at;
	}
}
