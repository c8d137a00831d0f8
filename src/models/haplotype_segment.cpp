#include "models/haplotype_segment.h"
#include "utils/myException.h"
#include "utils/putils.h"
#include "utils/sutils.h"
#include "utils/vector_clones.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstring>
#if defined(__x86_64__)
#include <immintrin.h>
#endif

static const int max_fragments = segment_links::max_fragments;
static const double underflow = 1e-300;
// A row sum below this is not divided out: only emissions far below any that the model
// makes get there, and the row then runs down to 0.
static const double min_total = 1e-30;

// The loops of the per-site work below carry AVX-512 and AVX2 clones beside the baseline
// one, chosen when the program loads. Multiplications and additions are never fused into
// one rounding (the build turns contraction off), and the partial sums are laid out in the
// code, so all clones give the same bits. Rows have a stride of Kp, a multiple of 16.

typedef float floats16 __attribute__((vector_size(64)));
typedef float floats8 __attribute__((vector_size(32)));
typedef float floats4 __attribute__((vector_size(16)));
typedef int32_t ints16 __attribute__((vector_size(64)));
// The same vector read from and written to rows of floats, at any float boundary.
typedef float rows16 __attribute__((vector_size(64), aligned(4), may_alias));

// Sum of 16 partial sums s[j], k = j mod 16, in a fixed order, in vectors.
static inline double reduce(const floats16 & s) {
	const floats8 h = __builtin_shufflevector(s, s, 0, 1, 2, 3, 4, 5, 6, 7) + __builtin_shufflevector(s, s, 8, 9, 10, 11, 12, 13, 14, 15);
	const floats4 q = __builtin_shufflevector(h, h, 0, 1, 2, 3) + __builtin_shufflevector(h, h, 4, 5, 6, 7);
	return ((double)q[0] + q[2]) + ((double)q[1] + q[3]);
}

// One row of a lattice: c[k] = (o[k] * a + b) * e[k]; returns the sum of the row, kept as 16
// partial sums (k mod 16) so that the loop runs in vectors.
SORVANE_VECTOR_CLONES static double updateRow(const float * __restrict__ o, float a, float b, const float * __restrict__ e, float * __restrict__ c, int Kp) {
	floats16 s = { 0 };
	for (int k = 0 ; k < Kp ; k += 16) {
		const floats16 v = (*(const rows16 *)(o + k) * a + b) * *(const rows16 *)(e + k);
		*(rows16 *)(c + k) = v;
		s += v;
	}
	return reduce(s);
}

// m[k] += o[k] * a + b.
SORVANE_VECTOR_CLONES static void addRow(const float * __restrict__ o, float a, float b, float * __restrict__ m, int Kp) {
	for (int k = 0 ; k < Kp ; k ++) m[k] += o[k] * a + b;
}

// d[j] = sum of (o[k] * a + b) * y[j][k] for four rows y[j], each summed as updateRow sums:
// one pass over o serves four products.
SORVANE_VECTOR_CLONES static void dotRows4(const float * __restrict__ o, float a, float b, const float * const * y, int Kp, double * d) {
	floats16 s0 = { 0 }, s1 = { 0 }, s2 = { 0 }, s3 = { 0 };
	for (int k = 0 ; k < Kp ; k += 16) {
		const floats16 m = *(const rows16 *)(o + k) * a + b;
		s0 += m * *(const rows16 *)(y[0] + k);
		s1 += m * *(const rows16 *)(y[1] + k);
		s2 += m * *(const rows16 *)(y[2] + k);
		s3 += m * *(const rows16 *)(y[3] + k);
	}
	d[0] = reduce(s0);
	d[1] = reduce(s1);
	d[2] = reduce(s2);
	d[3] = reduce(s3);
}

// The emissions of conditioning haplotypes k .. k + 15 from their bits in a site's row:
// `ones` where the bit is set, `zeros` where it is clear.
static inline void emissions16(const unsigned char * bits, int k, const floats16 & ones, const floats16 & zeros, floats16 & e) {
	static const ints16 laneBit = { 1 << 0, 1 << 1, 1 << 2, 1 << 3, 1 << 4, 1 << 5, 1 << 6, 1 << 7, 1 << 8, 1 << 9, 1 << 10, 1 << 11, 1 << 12, 1 << 13, 1 << 14, 1 << 15 };
	uint16_t m;
	memcpy(&m, bits + (k >> 3), 2);
	e = (((ints16){ 0 } + (int)m) & laneBit) != 0 ? ones : zeros;
}

// updateRow with the emission row made on the fly from the site's bit row: e[k] is `one`
// where bit k is set and `zero` where it is clear, for k < K, and 0 in the padding. The
// cells and the sum come out bit for bit as from updateRow. bits holds Kp / 8 bytes.
SORVANE_VECTOR_CLONES static double updateRowBitsAny(const float * __restrict__ o, float a, float b, const unsigned char * __restrict__ bits, float one, float zero, float * __restrict__ c, int K, int Kp) {
	const floats16 ones = (floats16){ 0 } + one, zeros = (floats16){ 0 } + zero;
	const ints16 lane = { 0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15 };
	floats16 s = { 0 };
	for (int k = 0 ; k < Kp ; k += 16) {
		floats16 e;
		emissions16(bits, k, ones, zeros, e);
		if (k + 16 > K) e = lane < K - k ? e : (floats16){ 0 };
		const floats16 v = (*(const rows16 *)(o + k) * a + b) * e;
		*(rows16 *)(c + k) = v;
		s += v;
	}
	return reduce(s);
}

#if defined(__x86_64__) && !defined(SORVANE_NO_TARGET_CLONES)
// Cells k .. k + 15 of updateRowBits512 added to s; lanes outside `valid` get an emission of 0.
__attribute__((target("avx512f"), always_inline)) static inline void cells512(const float * o, __m512 a, __m512 b, const unsigned char * bits, __m512 ones, __m512 zeros, float * c, size_t k, __mmask16 valid, __m512 & s) {
	uint16_t m;
	memcpy(&m, bits + k / 8, 2);
	const __m512 e = _mm512_maskz_mov_ps(valid, _mm512_mask_blend_ps((__mmask16)m, zeros, ones));
	const __m512 v = _mm512_mul_ps(_mm512_add_ps(_mm512_mul_ps(_mm512_loadu_ps(o + k), a), b), e);
	_mm512_storeu_ps(c + k, v);
	s = _mm512_add_ps(s, v);
}

// updateRowBitsAny with AVX-512 intrinsics: 16 bits of the row are the blend mask of 16
// emissions, where the portable form spreads them over the lanes and compares; the same
// operations in the same order give the same bits. Chosen once, when the processor has it.
__attribute__((target("avx512f"))) static double updateRowBits512(const float * __restrict__ o, float a, float b, const unsigned char * __restrict__ bits, float one, float zero, float * __restrict__ c, int K, int Kp) {
	const __m512 ones = _mm512_set1_ps(one), zeros = _mm512_set1_ps(zero), va = _mm512_set1_ps(a), vb = _mm512_set1_ps(b);
	__m512 s = _mm512_setzero_ps();
	size_t k = 0;
	for (; k + 16 <= (size_t)K ; k += 16) cells512(o, va, vb, bits, ones, zeros, c, k, 0xFFFF, s);
	for (; k < (size_t)Kp ; k += 16) cells512(o, va, vb, bits, ones, zeros, c, k, (__mmask16)((1u << std::max(K - (int)k, 0)) - 1), s);
	floats16 t;
	memcpy(&t, &s, sizeof t);
	return reduce(t);
}

static double updateRowBits(const float * o, float a, float b, const unsigned char * bits, float one, float zero, float * c, int K, int Kp) {
	static const bool avx512 = __builtin_cpu_supports("avx512f");
	return avx512 ? updateRowBits512(o, a, b, bits, one, zero, c, K, Kp) : updateRowBitsAny(o, a, b, bits, one, zero, c, K, Kp);
}
#else
static double updateRowBits(const float * o, float a, float b, const unsigned char * bits, float one, float zero, float * c, int K, int Kp) {
	return updateRowBitsAny(o, a, b, bits, one, zero, c, K, Kp);
}
#endif

// Emission row of a site from its bit row: `one` where bit k is set and `zero` where it is
// clear, for k < K; the padding up to Kp is left as it is. bits holds Kp / 8 bytes.
SORVANE_VECTOR_CLONES static void emissionRow(const unsigned char * __restrict__ bits, float one, float zero, float * __restrict__ e, int K) {
	const floats16 ones = (floats16){ 0 } + one, zeros = (floats16){ 0 } + zero;
	int k = 0;
	for (; k + 16 <= K ; k += 16) {
		floats16 v;
		emissions16(bits, k, ones, zeros, v);
		*(rows16 *)(e + k) = v;
	}
	for (; k < K ; k ++) e[k] = ((bits[k >> 3] >> (k & 7)) & 1) ? one : zero;
}

haplotype_segment::haplotype_segment(genhap_set & GH, std::vector < chaplotype > & H, bool drawn_known) :
	GH(GH), H(H), cond(nullptr), drawn_known(drawn_known), K(0), Kp(0), cur(0), siteRow(nullptr), siteMatch(0.0f), siteMismatch(0.0f), siteRows(false), rowBytes(0), runP(1.0), start_l(0) {
}

void haplotype_segment::windows(const std::vector < std::vector < int > > & cond, const std::vector < int > & segStart, const std::vector < int > & segStop, const std::vector < int > & start, const std::vector < int > & stop) {
	this->cond = &cond;
	this->segStart.assign(segStart.begin(), segStart.end());
	this->segStop.assign(segStop.begin(), segStop.end());
	this->start.assign(start.begin(), start.end());
	this->stop.assign(stop.begin(), stop.end());
}

void haplotype_segment::expectation(genotype_graph * G, hmm_parameters & M, std::vector < std::vector < std::vector < double > > > & prob) {
	links.set(G);
	run(G, M, prob, "UNR");
}

void haplotype_segment::expectation(genotype_graph * G, hmm_parameters & M, std::vector < std::vector < std::vector < bool > > > & mask, std::vector < std::vector < std::vector < double > > > & prob) {
	links.set(G, mask);
	run(G, M, prob, "PED");
}

void haplotype_segment::run(genotype_graph * G, hmm_parameters & M, std::vector < std::vector < std::vector < double > > > & prob, const std::string & form) {
	const int W = start.size();
	for (int w = 0 ; w < W ; w ++) {
		prepareWindow(w);
		forward(G, M, w);
		if (w == W - 1) writeEnds(G, prob, true);
		backward(G, M, w);
		if (w == 0) writeEnds(G, prob, false);
		interior(G, M, w, prob, form);
	}
}

// Fresh zero-filled lattices sized by the window's conditioning haplotypes, and their bytes
// and missing flags at hand.
void haplotype_segment::prepareWindow(int w) {
	const std::vector < int > & C = (*cond)[w];
	K = C.size();
	Kp = (K + 15) & ~15;
	condBits.resize(K);
	condMiss.resize(K);
	const int first = start[w] >> 3, nb = (stop[w] >> 3) - first + 1;
	for (int k = 0 ; k < K ; k ++) {
		condBits[k] = H[C[k]].data.data();
		condMiss[k] = (!drawn_known && C[k] < (int)GH.hap2ind.size()) ? &GH.vecG[GH.hap2ind[C[k]]]->Miss : nullptr;
		// The haplotypes lie apart in memory: their window's bytes are fetched all at once.
		for (int b = 0 ; b < nb ; b += 64) __builtin_prefetch(condBits[k] + first + b);
		__builtin_prefetch(condBits[k] + first + nb - 1);
	}
	for (std::vector < float > & L : lattice) L.assign(max_fragments * Kp, 0.0f);
	missing.assign(K, 0);
	emit.assign(2 * Kp, 0.0f);
	mix.assign(Kp, 0.0f);
	start_l = start[w];
	// Eight conditioning haplotypes by 64 sites at a time: their bytes transposed to one word
	// per byte of sites, each word then a matrix of 8 haplotypes by 8 sites, transposed to
	// one byte per site.
	rowBytes = Kp / 8;
	siteBits.assign((size_t)nb * 8 * rowBytes, 0);
	unsigned char * out = siteBits.data();
	for (int k0 = 0 ; k0 < K ; k0 += 8) {
		// A last group of fewer than 8 repeats its last haplotype, whose copies are cleared.
		const int valid = std::min(8, K - k0);
		const unsigned char * rows[8];
		for (int i = 0 ; i < 8 ; i ++) rows[i] = condBits[k0 + std::min(i, valid - 1)];
		chaplotype::transpose8(rows, first, nb, out + (k0 >> 3), rowBytes);
		if (valid < 8) for (int j = 0 ; j < 8 * nb ; j ++) out[(size_t)j * rowBytes + (k0 >> 3)] &= (1u << valid) - 1;
	}
	// A site is the same in all conditioning haplotypes if its row holds K ones or none.
	condSame.resize(8 * nb);
	const int used = (K + 7) / 8;
	const unsigned char lastByte = (K & 7) ? (1u << (K & 7)) - 1 : 0xFF;
	for (int j = 0 ; j < 8 * nb ; j ++) {
		const unsigned char * row = out + (size_t)j * rowBytes;
		unsigned char any = row[used - 1], all = row[used - 1] | (unsigned char)~lastByte;
		for (int i = 0 ; i + 1 < used ; i ++) {
			any |= row[i];
			all &= row[i];
		}
		condSame[j] = any == 0 || all == 0xFF;
	}
}

// The sites of segment s, from site l0 of the window on, as the passes see them: bit h of
// siteOnes set if fragment h carries allele 1, and siteUniform if the site multiplies all
// cells by one emission: the unit is not missing, its fragments in use agree and so do the
// conditioning haplotypes.
void haplotype_segment::readSegment(genotype_graph * G, int s, int l0, unsigned int act) {
	const int n = G->HapsS[s], first = start_l >> 3;
	const size_t at = siteOnes.size();
	// Eight bytes of slack, so that the last word of a fragment can be written whole.
	siteOnes.resize(at + n + 8, 0);
	siteUniform.resize(at + n, 0);
	unsigned char * ones = siteOnes.data() + at;
	for (int h = 0 ; h < max_fragments ; h ++) if ((act >> h) & 1) {
		for (int i = 0 ; i < n ; i += 8) {
			// Sites i .. i + 7 of fragment h, then one per byte: bit j goes to bit 8j.
			uint64_t x = G->Haps.bits8(G->HapsI[s] + h * n + i) & (n - i >= 8 ? 0xFFu : (1u << (n - i)) - 1);
			x = (x | (x << 28)) & 0x0000000F0000000FULL;
			x = (x | (x << 14)) & 0x0003000300030003ULL;
			x = (x | (x << 7)) & 0x0101010101010101ULL;
			uint64_t w;
			memcpy(&w, ones + i, 8);
			w |= x << h;
			memcpy(ones + i, &w, 8);
		}
	}
	siteOnes.resize(at + n);
	for (int i = 0 ; i < n ; i ++) {
		const int l = l0 + i, used = ones[i] & act;
		siteUniform[at + i] = (used == 0 || used == (int)act) && !G->Miss[l] && condSame[l - 8 * first];
	}
}

// The fragment alleles fa of site l from its mask.
void haplotype_segment::siteAlleles(int l, unsigned int act, int * fa) const {
	const unsigned char ones = siteOnes[l - start_l];
	for (int h = 0 ; h < max_fragments ; h ++) if ((act >> h) & 1) fa[h] = (ones >> h) & 1;
}

// The emissions of site l. Where the unit is missing, a conditioning haplotype whose sample
// is missing too gets `none` in place of an emission: there the rows of the alleles that the
// fragments carry are made here. Elsewhere each row update reads the site's bit row.
void haplotype_segment::emissions(genotype_graph * G, int l, unsigned int act, const int * fa, double match, double mismatch, float none) {
	siteRow = siteBits.data() + (size_t)(l - (start_l & ~7)) * rowBytes;
	siteMatch = match;
	siteMismatch = mismatch;
	siteRows = G->Miss[l];
	if (!siteRows) return;
	unsigned int used = 0;
	for (int h = 0 ; h < max_fragments ; h ++) if ((act >> h) & 1) used |= 1u << fa[h];
	for (int k = 0 ; k < K ; k ++) missing[k] = condMiss[k] && (*condMiss[k])[l];
	for (int a = 0 ; a < 2 ; a ++) if ((used >> a) & 1) {
		float * e = emit.data() + a * Kp;
		emissionRow(siteRow, a ? siteMatch : siteMismatch, a ? siteMismatch : siteMatch, e, K);
		for (int k = 0 ; k < K ; k ++) if (missing[k]) e[k] = none;
	}
}

// Row c from row o: c[k] = (o[k] * a + b) * the emission of `allele` at the current site.
double haplotype_segment::updateCells(const float * o, float a, float b, int allele, float * c) const {
	if (siteRows) return updateRow(o, a, b, emit.data() + allele * Kp, c, Kp);
	return updateRowBits(o, a, b, siteRow, allele ? siteMatch : siteMismatch, allele ? siteMismatch : siteMatch, c, K, Kp);
}

// Fragment h shares the row of the first active fragment before it that came from the same
// row (`from`) and carries the same allele; the fragment itself if there is none.
static int shareRow(unsigned int act, const int * from, const int * fa, int h) {
	for (int p = 0 ; p < h ; p ++) if (((act >> p) & 1) && from[p] == from[h] && fa[p] == fa[h]) return p;
	return h;
}

// First site of a pass: every row is its emission.
void haplotype_segment::startRows(unsigned int act, const int * fa) {
	float * next = lattice[cur ^ 1].data();
	std::fill(mix.begin(), mix.end(), 1.0f);
	const int none[max_fragments] = { 0 };
	for (int h = 0 ; h < max_fragments ; h ++) if ((act >> h) & 1) {
		rep[h] = shareRow(act, none, fa, h);
		rowS[h] = rep[h] == h ? updateCells(mix.data(), 1.0f, 0.0f, fa[h], next + h * Kp) : rowS[rep[h]];
		rowA[h] = rowC[h] = 1.0;
		rowB[h] = 0.0;
	}
	runP = 1.0;
	cur ^= 1;
}

// A site within a segment: row h goes to (row * nrec + sum * recN) * emission, divided by
// its own sum of the site before, which moves into the row's multiplier.
void haplotype_segment::stepRows(unsigned int act, const int * fa, double nrec, double recN) {
	settleRun(act);
	const float * old = lattice[cur].data();
	float * next = lattice[cur ^ 1].data();
	int from[max_fragments];
	std::copy(rep, rep + max_fragments, from);
	// Rows split only where the fragments carry both alleles; elsewhere they keep their reps.
	unsigned int ones = 0;
	for (int h = 0 ; h < max_fragments ; h ++) if ((act >> h) & 1) ones |= (unsigned int)fa[h] << h;
	const bool split = ones != 0 && ones != act;
	for (int h = 0 ; h < max_fragments ; h ++) if ((act >> h) & 1) {
		// A fragment sharing a row shares its scalars too, and its row came first.
		if (split) rep[h] = shareRow(act, from, fa, h);
		if (rep[h] != h) {
			rowA[h] = rowA[rep[h]];
			rowB[h] = rowB[rep[h]];
			rowS[h] = rowS[rep[h]];
			rowC[h] = rowC[rep[h]];
			continue;
		}
		double by = 1.0;
		if (rowS[h] >= min_total) {
			by = 1.0 / rowS[h];
			rowC[h] *= rowS[h];
		}
		const double A = rowA[h] * nrec * by, B = (rowB[h] * nrec + rowS[h] * recN) * by;
		rowS[h] = updateCells(old + from[h] * Kp, (float)A, (float)B, fa[h], next + h * Kp);
		rowA[h] = 1.0;
		rowB[h] = 0.0;
	}
	cur ^= 1;
}

// A uniform site multiplies every row by the same emission and recombines it: normalised to
// sum 1, a row goes to row * p + (1 - p) / K with p = nrec / (nrec + K * recN), the same for
// all rows, so the fragments keep their weights. Only the product of the p is kept.
void haplotype_segment::skipSite(double nrec, double recN) {
	runP *= nrec / (nrec + K * recN);
}

// The uniform sites passed since the last update, composed into the pending maps: each row
// keeps its sum and so its weight.
void haplotype_segment::settleRun(unsigned int act) {
	if (runP == 1.0) return;
	const double spread = (1.0 - runP) / K;
	for (int h = 0 ; h < max_fragments ; h ++) if ((act >> h) & 1) {
		if (rep[h] == h) {
			rowB[h] = rowB[h] * runP + rowS[h] * spread;
			rowA[h] *= runP;
		} else {
			rowA[h] = rowA[rep[h]];
			rowB[h] = rowB[rep[h]];
		}
	}
	runP = 1.0;
}

// First site of a new segment in the pass: all allowed fragments of the segment left behind
// feed each fragment, each in proportion to its row's weight, the heaviest source's weight
// becoming the new row's multiplier. Fragments with the same sources share one mixed row.
// The site before, the end of a segment, applied its update: no uniform site is pending.
void haplotype_segment::mixRows(unsigned int act, const int * fa, double nrec, double recN, bool backward, int s) {
	const float * old = lattice[cur].data();
	float * next = lattice[cur ^ 1].data();
	double sums[max_fragments], mults[max_fragments], top = 1.0;
	int src[max_fragments], shared[max_fragments];
	unsigned int mixed = 0;
	for (int h = 0 ; h < max_fragments ; h ++) if ((act >> h) & 1) src[h] = backward ? links.backwardSources(s, h) : links.forwardSources(s, h);
	for (int h = 0 ; h < max_fragments ; h ++) if ((act >> h) & 1) {
		shared[h] = shareRow(act, src, fa, h);
		if (shared[h] != h) {
			sums[h] = sums[shared[h]];
			mults[h] = mults[shared[h]];
			continue;
		}
		if ((unsigned int)src[h] != mixed) {
			top = 0.0;
			for (int p = 0 ; p < max_fragments ; p ++) if ((src[h] >> p) & 1) top = std::max(top, rowC[p] * rowS[p]);
			if (!(top >= underflow)) top = 1.0;
			std::fill(mix.begin(), mix.end(), 0.0f);
			for (int p = 0 ; p < max_fragments ; p ++) if ((src[h] >> p) & 1) {
				const double by = rowC[p] / top;
				addRow(old + rep[p] * Kp, (float)(rowA[p] * nrec * by), (float)((rowB[p] * nrec + rowS[p] * recN) * by), mix.data(), Kp);
			}
			mixed = src[h];
		}
		sums[h] = updateCells(mix.data(), 1.0f, 0.0f, fa[h], next + h * Kp);
		mults[h] = top;
	}
	for (int h = 0 ; h < max_fragments ; h ++) if ((act >> h) & 1) {
		rep[h] = shared[h];
		rowS[h] = sums[h];
		rowC[h] = mults[h];
		rowA[h] = 1.0;
		rowB[h] = 0.0;
	}
	cur ^= 1;
}

// The multipliers are divided by the total weight of the rows, so that they stay in range.
void haplotype_segment::closeSite(unsigned int act) {
	double total = 0.0;
	for (int h = 0 ; h < max_fragments ; h ++) if ((act >> h) & 1) total += rowC[h] * rowS[h];
	if (total >= underflow && total <= 1.0 / underflow) for (int h = 0 ; h < max_fragments ; h ++) rowC[h] /= total;
}

// Appends the C rows of a segment and their multipliers (and sums, if S is given), zeros
// for the inactive fragments. The rows are those of a site that applied its update, so no
// map is pending.
void haplotype_segment::appendItem(std::vector < float > & P, std::vector < int > & I, std::vector < double > & mults, std::vector < double > * S, int C, unsigned int act) {
	const float * rows = lattice[cur].data();
	I.push_back(P.size());
	for (int h = 0 ; h < C ; h ++) {
		const bool on = (act >> h) & 1;
		if (on) P.insert(P.end(), rows + rep[h] * Kp, rows + (rep[h] + 1) * Kp);
		else P.insert(P.end(), Kp, 0.0f);
		mults.push_back(on ? rowC[h] : 0.0);
		if (S) S->push_back(on ? rowS[h] : 0.0);
	}
}

// Candidate fragments of all segments of window w: the most rows its items can hold.
int haplotype_segment::windowRows(genotype_graph * G, int w) const {
	int rows = 0;
	for (int s = segStart[w] ; s <= segStop[w] ; s ++) rows += G->HapsC[s];
	return rows;
}

void haplotype_segment::forward(genotype_graph * G, hmm_parameters & M, int w) {
	forwP.clear();
	forwS.clear();
	forwM.clear();
	forwI.clear();
	const int rows = windowRows(G, w);
	forwP.reserve((size_t)rows * Kp);
	forwS.reserve(rows);
	forwM.reserve(rows);
	forwI.reserve(segStop[w] - segStart[w] + 1);
	siteOnes.clear();
	siteUniform.clear();
	int fa[max_fragments];
	for (int s = segStart[w], l0 = start[w] ; s <= segStop[w] ; l0 += G->HapsS[s ++]) {
		const unsigned int act = links.active(s);
		const int n = G->HapsS[s];
		readSegment(G, s, l0, act);
		for (int i = 0 ; i < n ; i ++) {
			const int l = l0 + i;
			// The last site of a segment is stored, so it applies its update.
			if (i > 0 && i < n - 1 && siteUniform[l - start_l]) {
				skipSite(M.nrec[l - 1], M.recN[l - 1]);
				continue;
			}
			siteAlleles(l, act, fa);
			emissions(G, l, act, fa, M.ed, M.ee, 1.0f);
			if (l == start[w]) startRows(act, fa);
			else if (i == 0) mixRows(act, fa, M.nrec[l - 1], M.recN[l - 1], false, s);
			else stepRows(act, fa, M.nrec[l - 1], M.recN[l - 1]);
			closeSite(act);
		}
		appendItem(forwP, forwI, forwM, &forwS, G->HapsC[s], act);
	}
}

void haplotype_segment::backward(genotype_graph * G, hmm_parameters & M, int w) {
	backP.clear();
	backM.clear();
	backI.clear();
	backP.reserve((size_t)windowRows(G, w) * Kp);
	backI.reserve(segStop[w] - segStart[w] + 1);
	int fa[max_fragments];
	for (int s = segStop[w], l1 = stop[w] ; s >= segStart[w] ; l1 -= G->HapsS[s --]) {
		const unsigned int act = links.active(s);
		const int n = G->HapsS[s];
		for (int i = n - 1 ; i >= 0 ; i --) {
			const int l = l1 - (n - 1 - i);
			// The first site of a segment but the window's first is stored.
			const bool stored = i == 0 && l != start[w];
			if (i < n - 1 && !stored && siteUniform[l - start_l]) {
				skipSite(M.nrec[l], M.recN[l]);
				continue;
			}
			siteAlleles(l, act, fa);
			// The last site starts from the emission divided by K; a cell without emission
			// stays at 0 there.
			if (l == stop[w]) {
				emissions(G, l, act, fa, M.edN, M.eeN, 0.0f);
				startRows(act, fa);
			} else {
				emissions(G, l, act, fa, M.ed, M.ee, 1.0f);
				if (i == n - 1) mixRows(act, fa, M.nrec[l], M.recN[l], true, s);
				else stepRows(act, fa, M.nrec[l], M.recN[l]);
			}
			closeSite(act);
			if (stored) appendItem(backP, backI, backM, nullptr, G->HapsC[s], act);
		}
		if (l1 - n + 1 == 0) {
			backS.assign(G->HapsC[0], 0.0);
			for (int h = 0 ; h < (int)G->HapsC[0] ; h ++) if ((act >> h) & 1) backS[h] = rowC[h] * rowS[h];
		}
	}
	std::reverse(backI.begin(), backI.end());
}

// Last window: the weights of the last forward rows, normalised, form the last group's
// column. First window: those of the backward rows at site 0 form the first group's row.
void haplotype_segment::writeEnds(genotype_graph * G, std::vector < std::vector < std::vector < double > > > & prob, bool last) {
	const int S = G->HapsC.size();
	if (last) {
		const int C = G->HapsC[S - 1];
		const int first = forwS.size() - C;
		double total = 0.0;
		for (int a = 0 ; a < C ; a ++) total += forwM[first + a] * forwS[first + a];
		for (int a = 0 ; a < C ; a ++) prob[S][a][0] = forwM[first + a] * forwS[first + a] / total;
	} else {
		putils::normalise(backS);
		for (int b = 0 ; b < (int)G->HapsC[0] ; b ++) prob[0][0][b] = backS[b];
	}
}

// Matrix of each segment boundary inside the window: forward item of the left segment, one
// step of the chain, backward item of the right segment. Pairs outside the links stay 0.
void haplotype_segment::interior(genotype_graph * G, hmm_parameters & M, int w, std::vector < std::vector < std::vector < double > > > & prob, const std::string & form) {
	int l = start[w];
	for (int s = segStart[w] + 1 ; s <= segStop[w] ; s ++) {
		l += G->HapsS[s - 1];
		const int item = s - 1 - segStart[w], P = G->HapsC[s - 1], C = G->HapsC[s];
		const float * F = forwP.data() + forwI[item];
		// An item holds C rows of Kp cells and C multipliers (and sums): its multipliers start
		// at offset / Kp.
		const double * FS = forwS.data() + forwI[item] / Kp, * FM = forwM.data() + forwI[item] / Kp;
		const float * B = backP.data() + backI[item];
		const double * BM = backM.data() + backI[item] / Kp;
		// The right rows four at a time, the missing ones of the last four read as zeros.
		const float * right[max_fragments + 3];
		for (int h = 0 ; h < C + 3 ; h ++) right[h] = h < C ? B + h * Kp : mix.data();
		std::fill(mix.begin(), mix.end(), 0.0f);
		double total = 0.0, dots[max_fragments + 3];
		for (int p = 0 ; p < P ; p ++) {
			for (int h = 0 ; h < C ; h += 4) dotRows4(F + p * Kp, (float)M.nrec[l - 1], (float)(FS[p] * M.recN[l - 1]), right + h, Kp, dots + h);
			for (int h = 0 ; h < C ; h ++) {
				double & cell = prob[s][p][h];
				cell = links.linked(s, p, h) ? FM[p] * BM[h] * dots[h] : 0.0;
				total += cell;
			}
		}
		if (total < underflow) throw myException("Underflow in expectation" + form + " / i=" + G->name + " s=" + sutils::int2str(w) + " b=" + sutils::int2str(s) + " sp=" + sutils::double2str(total, 10));
		if (std::isnan(total)) throw myException("Nan in expectation" + form + " / i=" + G->name + " s=" + sutils::int2str(w) + " b=" + sutils::int2str(s) + " sp=" + sutils::double2str(total, 10));
		for (int p = 0 ; p < P ; p ++) for (int h = 0 ; h < C ; h ++) prob[s][p][h] /= total;
	}
}
