#include "models/haplotype_segment.h"
#include "utils/myException.h"
#include "utils/putils.h"
#include "utils/sutils.h"
#include "utils/vector_clones.h"

#include <algorithm>
#include <cmath>

static const int max_fragments = segment_links::max_fragments;
// Every 50 sites the lattices are divided by their total, all fragments together.
static const int rescale_step = 50;
static const double underflow = 1e-300;

// The three loops of the per-site work below carry an AVX2 clone beside the baseline one,
// chosen when the program loads. AVX2 without FMA rounds each operation as the baseline
// does, so both give the same bits.

// One row of a lattice: c[k] = (o[k] * a + b) * e[k]; returns the sum of the row. Eight
// partial sums break the serial dependency of the sum so that the loop vectorises and
// two vector additions are in flight at once.
SORVANE_VECTOR_CLONES static double updateRow(const double * __restrict__ o, double a, double b, const double * __restrict__ e, double * __restrict__ c, int K) {
	double s[8] = { 0.0, 0.0, 0.0, 0.0, 0.0, 0.0, 0.0, 0.0 };
	int k = 0;
	for (; k + 8 <= K ; k += 8)
		for (int j = 0 ; j < 8 ; j ++) {
			const double v = (o[k + j] * a + b) * e[k + j];
			c[k + j] = v;
			s[j] += v;
		}
	for (; k < K ; k ++) {
		const double v = (o[k] * a + b) * e[k];
		c[k] = v;
		s[0] += v;
	}
	return ((s[0] + s[1]) + (s[2] + s[3])) + ((s[4] + s[5]) + (s[6] + s[7]));
}

// Allele at bit `bit` of each conditioning haplotype's cached byte.
SORVANE_VECTOR_CLONES static void extractAlleles(const unsigned char * __restrict__ bytes, int bit, unsigned char * __restrict__ x, int K) {
	for (int k = 0 ; k < K ; k ++) x[k] = (bytes[k] >> bit) & 1;
}

// Emission row of a unit allele: m1 where the conditioning allele is 1, m0 where it is 0.
// x * m1 + (1 - x) * m0 with x in {0, 1} gives either term exactly.
SORVANE_VECTOR_CLONES static void emissionRow(const unsigned char * __restrict__ x, double m1, double m0, double * __restrict__ e, int K) {
	for (int k = 0 ; k < K ; k ++) {
		const double v = x[k];
		e[k] = v * m1 + (1.0 - v) * m0;
	}
}

haplotype_segment::haplotype_segment(genhap_set & GH, std::vector < chaplotype > & H, bool drawn_known) :
	GH(GH), H(H), cond(nullptr), drawn_known(drawn_known), K(0), cachedByte(-1) {
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

// Fresh zero-filled buffers sized by the K of the window, and the conditioning haplotypes'
// bits and missing flags at hand.
void haplotype_segment::prepareWindow(int w) {
	K = (*cond)[w].size();
	prob0.assign(max_fragments * K, 0.0);
	prob1.assign(max_fragments * K, 0.0);
	sum0.assign(max_fragments, 0.0);
	sum1.assign(max_fragments, 0.0);
	alleles.assign(K, 0);
	missing.assign(K, 0);
	emit.assign(2 * K, 0.0);
	mix.assign(K, 0.0);
	condByte.assign(K, 0);
	cachedByte = -1;
	condBits.resize(K);
	condMiss.resize(K);
	for (int k = 0 ; k < K ; k ++) {
		const int idx = (*cond)[w][k];
		condBits[k] = H[idx].data.data();
		condMiss[k] = (!drawn_known && idx < (int)GH.hap2ind.size()) ? &GH.vecG[GH.hap2ind[idx]]->Miss : nullptr;
	}
}

// Gathers the conditioning alleles once for the site (from a byte cached for 8 sites) and
// the fragment alleles fa, and fills the emission row of each allele the fragments carry.
// Where the unit is missing, a conditioning haplotype whose sample is missing too gets
// `none` in place of an emission term.
void haplotype_segment::loadSite(genotype_graph * G, int s, int i, int l, unsigned int act, double match, double mismatch, double none, int * fa) {
	if ((l >> 3) != cachedByte) {
		cachedByte = l >> 3;
		for (int k = 0 ; k < K ; k ++) condByte[k] = condBits[k][cachedByte];
	}
	extractAlleles(condByte.data(), l & 7, alleles.data(), K);
	unsigned int used = 0;
	for (int h = 0 ; h < max_fragments ; h ++) if ((act >> h) & 1) {
		fa[h] = G->getA(s, h, i);
		used |= 1u << fa[h];
	}
	const bool miss = G->Miss[l];
	if (miss) for (int k = 0 ; k < K ; k ++) missing[k] = condMiss[k] && (*condMiss[k])[l];
	for (int a = 0 ; a < 2 ; a ++) if ((used >> a) & 1) {
		double * e = emit.data() + a * K;
		emissionRow(alleles.data(), a ? match : mismatch, a ? mismatch : match, e, K);
		if (miss) for (int k = 0 ; k < K ; k ++) if (missing[k]) e[k] = none;
	}
}

// mix[k] = sum over the source fragments p of old(p, k) * nrec + oldsum(p) * recN.
void haplotype_segment::mixSources(unsigned int src, const double * old, const double * oldsum, double nrec, double recN) {
	std::fill(mix.begin(), mix.end(), 0.0);
	double * m = mix.data();
	for (int p = 0 ; p < max_fragments ; p ++) if ((src >> p) & 1) {
		const double * o = old + p * K;
		const double b = oldsum[p] * recN;
		for (int k = 0 ; k < K ; k ++) m[k] += o[k] * nrec + b;
	}
}

// Divides the rows of all active fragments by their common total, so that the relative
// weights of the fragments stay intact.
void haplotype_segment::rescale(double * cur, double * cursum, unsigned int act) {
	double total = 0.0;
	for (int h = 0 ; h < max_fragments ; h ++) if ((act >> h) & 1) total += cursum[h];
	for (int h = 0 ; h < max_fragments ; h ++) if ((act >> h) & 1) {
		double * c = cur + h * K;
		for (int k = 0 ; k < K ; k ++) c[k] /= total;
		cursum[h] /= total;
	}
}

// Appends the C rows of a segment, zeros for the inactive fragments.
void haplotype_segment::appendItem(std::vector < double > & P, std::vector < int > & I, std::vector < double > * S, const double * cur, const double * cursum, int C, unsigned int act) {
	I.push_back(P.size());
	P.insert(P.end(), cur, cur + C * K);
	for (int h = 0 ; h < C ; h ++) if (!((act >> h) & 1)) std::fill(P.end() - (C - h) * K, P.end() - (C - h - 1) * K, 0.0);
	if (S) for (int h = 0 ; h < C ; h ++) S->push_back(((act >> h) & 1) ? cursum[h] : 0.0);
}

// The buffers of the site at rel and of the site before it in the pass, by parity.
void haplotype_segment::buffers(int rel, double *& cur, double *& cursum, const double *& old, const double *& oldsum) {
	cur = (rel & 1) ? prob1.data() : prob0.data();
	cursum = (rel & 1) ? sum1.data() : sum0.data();
	old = (rel & 1) ? prob0.data() : prob1.data();
	oldsum = (rel & 1) ? sum0.data() : sum1.data();
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
	forwI.clear();
	const int rows = windowRows(G, w);
	forwP.reserve((size_t)rows * K);
	forwS.reserve(rows);
	forwI.reserve(segStop[w] - segStart[w] + 1);
	int fa[max_fragments];
	int s = segStart[w], i = 0;
	for (int l = start[w] ; l <= stop[w] ; l ++) {
		const int rel = l - start[w];
		double * cur, * cursum;
		const double * old, * oldsum;
		buffers(rel, cur, cursum, old, oldsum);
		const unsigned int act = links.active(s);
		loadSite(G, s, i, l, act, M.ed, M.ee, 1.0, fa);
		if (rel == 0) std::fill(mix.begin(), mix.end(), 1.0);
		unsigned int mixed = 0;
		for (int h = 0 ; h < max_fragments ; h ++) if ((act >> h) & 1) {
			const double * e = emit.data() + fa[h] * K;
			if (rel == 0) cursum[h] = updateRow(mix.data(), 1.0, 0.0, e, cur + h * K, K);
			else if (i == 0) {
				// All allowed fragments of the previous segment feed this one; fragments
				// with the same sources share one mixed row.
				const unsigned int src = links.forwardSources(s, h);
				if (src != mixed) mixSources(src, old, oldsum, M.nrec[l - 1], M.recN[l - 1]);
				mixed = src;
				cursum[h] = updateRow(mix.data(), 1.0, 0.0, e, cur + h * K, K);
			} else cursum[h] = updateRow(old + h * K, M.nrec[l - 1], oldsum[h] * M.recN[l - 1], e, cur + h * K, K);
		}
		if (rel % rescale_step == 0) rescale(cur, cursum, act);
		if (i == (int)G->HapsS[s] - 1) {
			appendItem(forwP, forwI, &forwS, cur, cursum, G->HapsC[s], act);
			s ++;
			i = 0;
		} else i ++;
	}
}

void haplotype_segment::backward(genotype_graph * G, hmm_parameters & M, int w) {
	backP.clear();
	backI.clear();
	backP.reserve((size_t)windowRows(G, w) * K);
	backI.reserve(segStop[w] - segStart[w] + 1);
	int fa[max_fragments];
	int s = segStop[w], i = G->HapsS[s] - 1;
	for (int l = stop[w] ; l >= start[w] ; l --) {
		const int rel = l - start[w];
		double * cur, * cursum;
		const double * old, * oldsum;
		buffers(rel, cur, cursum, old, oldsum);
		const unsigned int act = links.active(s);
		// The last site starts from the emission divided by K; a cell without emission
		// stays at 0 there.
		if (l == stop[w]) {
			loadSite(G, s, i, l, act, M.edN, M.eeN, 0.0, fa);
			std::fill(mix.begin(), mix.end(), 1.0);
		} else loadSite(G, s, i, l, act, M.ed, M.ee, 1.0, fa);
		unsigned int mixed = 0;
		for (int h = 0 ; h < max_fragments ; h ++) if ((act >> h) & 1) {
			const double * e = emit.data() + fa[h] * K;
			if (l == stop[w]) cursum[h] = updateRow(mix.data(), 1.0, 0.0, e, cur + h * K, K);
			else if (i == (int)G->HapsS[s] - 1) {
				const unsigned int src = links.backwardSources(s, h);
				if (src != mixed) mixSources(src, old, oldsum, M.nrec[l], M.recN[l]);
				mixed = src;
				cursum[h] = updateRow(mix.data(), 1.0, 0.0, e, cur + h * K, K);
			} else cursum[h] = updateRow(old + h * K, M.nrec[l], oldsum[h] * M.recN[l], e, cur + h * K, K);
		}
		if (rel % rescale_step == 0) rescale(cur, cursum, act);
		if (l == 0) {
			backS.assign(G->HapsC[0], 0.0);
			for (int h = 0 ; h < (int)G->HapsC[0] ; h ++) if ((act >> h) & 1) backS[h] = cursum[h];
		}
		if (i == 0) {
			if (l != start[w]) appendItem(backP, backI, nullptr, cur, cursum, G->HapsC[s], act);
			if (-- s >= 0) i = G->HapsS[s] - 1;
		} else i --;
	}
	std::reverse(backI.begin(), backI.end());
}

// Last window: the last forward row sums, normalised, form the last group's column. First
// window: the backward row sums at site 0, normalised, form the first group's row.
void haplotype_segment::writeEnds(genotype_graph * G, std::vector < std::vector < std::vector < double > > > & prob, bool last) {
	const int S = G->HapsC.size();
	if (last) {
		const int C = G->HapsC[S - 1];
		const double * sums = forwS.data() + forwS.size() - C;
		double total = 0.0;
		for (int a = 0 ; a < C ; a ++) total += sums[a];
		for (int a = 0 ; a < C ; a ++) prob[S][a][0] = sums[a] / total;
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
		const double * F = forwP.data() + forwI[item];
		// An item holds C rows of K cells and C row sums: its sums start at offset / K.
		const double * FS = forwS.data() + forwI[item] / K;
		const double * B = backP.data() + backI[item];
		double total = 0.0;
		for (int p = 0 ; p < P ; p ++) for (int h = 0 ; h < C ; h ++) {
			double & cell = prob[s][p][h];
			cell = 0.0;
			if (links.linked(s, p, h)) cell = updateRow(F + p * K, M.nrec[l - 1], FS[p] * M.recN[l - 1], B + h * K, mix.data(), K);
			total += cell;
		}
		if (total < underflow) throw myException("Underflow in expectation" + form + " / i=" + G->name + " s=" + sutils::int2str(w) + " b=" + sutils::int2str(s) + " sp=" + sutils::double2str(total, 10));
		if (std::isnan(total)) throw myException("Nan in expectation" + form + " / i=" + G->name + " s=" + sutils::int2str(w) + " b=" + sutils::int2str(s) + " sp=" + sutils::double2str(total, 10));
		for (int p = 0 ; p < P ; p ++) for (int h = 0 ; h < C ; h ++) prob[s][p][h] /= total;
	}
}
