#include "models/haplotype_graph.h"
#include "utils/assertion.h"
#include "utils/lfile.h"
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

// Emission rows of the two alleles of the graph fragment: where the block fragment carries
// allele 1, e1 gets the match term and e0 the mismatch term, and the reverse for allele 0.
SORVANE_VECTOR_CLONES static void emissionRows(const unsigned char * __restrict__ a, double ed, double ee, double * __restrict__ e0, double * __restrict__ e1, int X) {
	for (int x = 0 ; x < X ; x ++) {
		const double v = a[x];
		e1[x] = v * ed + (1.0 - v) * ee;
		e0[x] = v * ee + (1.0 - v) * ed;
	}
}

// One row within a block: c[x] = (r * cnt[x] + o[x] * nrec) * e[x], r being the switch
// mass of the row; returns the row sum.
SORVANE_VECTOR_CLONES static double blockRow(const double * __restrict__ o, double nrec, double r, const double * __restrict__ cnt, const double * __restrict__ e, double * __restrict__ c, int X) {
	double s[4] = { 0.0, 0.0, 0.0, 0.0 };
	int x = 0;
	for (; x + 4 <= X ; x += 4)
		for (int j = 0 ; j < 4 ; j ++) {
			const double v = (r * cnt[x + j] + o[x + j] * nrec) * e[x + j];
			c[x + j] = v;
			s[j] += v;
		}
	for (; x < X ; x ++) {
		const double v = (r * cnt[x] + o[x] * nrec) * e[x];
		c[x] = v;
		s[0] += v;
	}
	return (s[0] + s[1]) + (s[2] + s[3]);
}

haplotype_graph::haplotype_graph(std::vector < chaplotype > & _haps, std::vector < int > & _indexes, int states) :
	haps(_haps), indexes(_indexes), max_states(states), nb_snp(0), nb_hap(_indexes.size()) {
	sorvane_assert(nb_hap > 0);
	nb_snp = haps[indexes[0]].size();
	buildBlocks();
	int tot = 0;
	for (int size : block_sizes) tot += size;
	sorvane_assert(tot == nb_snp);
	mergeEnds();

	const int B = block_sizes.size();
	for (int b = 0, first = 0 ; b < B ; first += block_sizes[b ++]) {
		block_start.push_back(first);
		site_block.insert(site_block.end(), block_sizes[b], b);
	}
	levels.assign(B, std::vector < std::vector < bool > > ());
	counts.assign(B, std::vector < double > ());
	carriers.assign(B, std::vector < int > ());
	allele_table.assign(B, std::vector < unsigned char > ());
	table_stride.assign(B, 0);
	fragment_index.assign(B, std::unordered_map < std::vector < bool >, int > ());
	links.assign(B - 1, sparse_matrix());
	for (int k : indexes) add(haps[k]);
}

// Blocks to the right and to the left of a random cut, so that the cuts differ from one
// iteration to the next.
void haplotype_graph::buildBlocks() {
	if (max_states >= nb_hap || nb_snp < 2) {
		block_sizes.assign(1, nb_snp);
		return;
	}
	const int start = putils::getRandom(nb_snp - 2);
	for (int p = start + 1 ; p < nb_snp ; ) {
		int length = extendDistinctHaps(p, 1);
		block_sizes.push_back(length);
		p += length;
	}
	std::vector < int > left;
	for (int q = start ; q >= 0 ; ) {
		int length = extendDistinctHaps(q, -1);
		left.push_back(length);
		q -= length;
	}
	block_sizes.insert(block_sizes.begin(), left.rbegin(), left.rend());
}

// Short blocks at the ends are merged into their neighbour.
void haplotype_graph::mergeEnds() {
	const double mean = (double)nb_snp / block_sizes.size();
	if (mean > block_sizes.front() && block_sizes.size() >= 3) {
		block_sizes[1] += block_sizes[0];
		block_sizes.erase(block_sizes.begin());
	}
	if (mean > block_sizes.back() && block_sizes.size() >= 3) {
		block_sizes[block_sizes.size() - 2] += block_sizes.back();
		block_sizes.pop_back();
	}
}

// Length of the block that starts at site `from` and grows in direction `dir` (1 to the
// right, -1 to the left): sites are added one at a time, the haplotypes split into the
// groups identical over the sites walked, until the groups reach max_states or the sites
// run out. Of the last two lengths, the one whose group count is closer to the target.
int haplotype_graph::extendDistinctHaps(int from, int dir) {
	std::vector < int > label (nb_hap, 0), remap;
	int count = 1, previous = 1, length = 0;
	for (int l = from ; l >= 0 && l < nb_snp ; l += dir) {
		previous = count;
		remap.assign(2 * count, -1);
		int next = 0;
		for (int k = 0 ; k < nb_hap ; k ++) {
			int & r = remap[2 * label[k] + haps[indexes[k]][l]];
			if (r < 0) r = next ++;
			label[k] = r;
		}
		count = next;
		length ++;
		if (count >= max_states) break;
	}
	if (count >= max_states && length > 1 && max_states - previous < count - max_states) return length - 1;
	return length;
}

// Position of the block part of h among the fragments of block b, appended when `append`.
int haplotype_graph::fragment(int b, chaplotype & h, bool append) {
	std::vector < bool > bits (block_sizes[b]);
	for (int j = 0 ; j < block_sizes[b] ; j ++) bits[j] = h[block_start[b] + j];
	std::unordered_map < std::vector < bool >, int >::const_iterator it = fragment_index[b].find(bits);
	if (it != fragment_index[b].end()) return it->second;
	sorvane_assert(append);
	const int x = levels[b].size();
	fragment_index[b][bits] = x;
	if (x >= table_stride[b]) {
		const int stride = std::max(16, 2 * table_stride[b]);
		std::vector < unsigned char > table (block_sizes[b] * stride, 0);
		for (int j = 0 ; j < block_sizes[b] ; j ++) std::copy_n(allele_table[b].begin() + j * table_stride[b], x, table.begin() + j * stride);
		allele_table[b].swap(table);
		table_stride[b] = stride;
	}
	for (int j = 0 ; j < block_sizes[b] ; j ++) allele_table[b][j * table_stride[b] + x] = bits[j];
	levels[b].push_back(bits);
	counts[b].push_back(0.0);
	carriers[b].push_back(0);
	return x;
}

void haplotype_graph::update(chaplotype & h, int step) {
	int previous = -1;
	for (int b = 0 ; b < (int)block_sizes.size() ; b ++) {
		const int x = fragment(b, h, step > 0);
		carriers[b][x] += step;
		counts[b][x] = carriers[b][x] / (double)nb_hap;
		if (b > 0) {
			links[b - 1].set(previous, x, step, nb_hap, counts[b - 1][previous]);
			if (step < 0) links[b - 1].purge(previous, x);
		}
		previous = x;
	}
}

void haplotype_graph::add(chaplotype & h) {
	update(h, 1);
}

void haplotype_graph::rem(chaplotype & h) {
	update(h, -1);
}

int haplotype_graph::getMaxState() const {
	int m = 0;
	for (const std::vector < std::vector < bool > > & l : levels) m = std::max(m, (int)l.size());
	return m;
}

void haplotype_graph::verbose() const {
	for (int b = 0 ; b < (int)block_sizes.size() ; b ++)
		LOG.println("Bloc " + sutils::int2str(b) + " : " + sutils::int2str(block_sizes[b]) + " sites from " + sutils::int2str(block_start[b]) + " / " + sutils::int2str(levels[b].size()) + " fragments");
}

void haplotype_graph::expectation(genotype_graph * G, hmm_parameters & M, std::vector < std::vector < std::vector < double > > > & prob) {
	segment_links T;
	T.set(G);
	run(G, M, T, prob, "UNR");
}

void haplotype_graph::expectation(genotype_graph * G, hmm_parameters & M, std::vector < std::vector < std::vector < bool > > > & mask, std::vector < std::vector < std::vector < double > > > & prob) {
	segment_links T;
	T.set(G, mask);
	run(G, M, T, prob, "PED");
}

void haplotype_graph::run(genotype_graph * G, hmm_parameters & M, const segment_links & T, std::vector < std::vector < std::vector < double > > > & prob, const std::string & form) {
	const int S = G->HapsC.size();
	int covered = 0;
	for (int s = 0 ; s < S ; s ++) covered += G->HapsS[s];
	sorvane_assert(covered == nb_snp);
	lattice A;
	A.width = getMaxState();
	for (int k = 0 ; k < 2 ; k ++) {
		A.cells[k].assign(max_fragments * A.width, 0.0);
		A.sums[k].assign(max_fragments, 0.0);
	}
	A.mix.assign(A.width, 0.0);
	A.emit.assign(2 * A.width, 0.0);
	items F, B;

	// The last group's column: the forward row sums of the last segment, normalised.
	forward(G, M, T, A, F);
	const double * last = F.S.data() + F.J[S - 1];
	double total = 0.0;
	for (unsigned int a = 0 ; a < G->HapsC[S - 1] ; a ++) total += last[a];
	for (unsigned int a = 0 ; a < G->HapsC[S - 1] ; a ++) prob[S][a][0] = last[a] / total;

	// The first group's row: the backward row sums of the first segment, normalised.
	backward(G, M, T, A, B);
	std::vector < double > first (B.S.begin() + B.J[0], B.S.begin() + B.J[0] + G->HapsC[0]);
	putils::normalise(first);
	for (unsigned int b = 0 ; b < G->HapsC[0] ; b ++) prob[0][0][b] = first[b];

	interior(G, M, T, F, B, prob, form);
}

void haplotype_graph::forward(genotype_graph * G, hmm_parameters & M, const segment_links & T, lattice & A, items & F) {
	int s = 0, i = 0;
	for (int l = 0 ; l < nb_snp ; l ++) {
		step(G, M, T, A, l, l - 1, s, i, i == 0, true);
		if (i == (int)G->HapsS[s] - 1) {
			keep(F, A.cells[l & 1].data(), A.sums[l & 1].data(), G->HapsC[s], levels[site_block[l]].size(), A.width, T.active(s));
			s ++;
			i = 0;
		} else i ++;
	}
}

void haplotype_graph::backward(genotype_graph * G, hmm_parameters & M, const segment_links & T, lattice & A, items & B) {
	int s = G->HapsC.size() - 1, i = G->HapsS[s] - 1;
	for (int l = nb_snp - 1 ; l >= 0 ; l --) {
		step(G, M, T, A, l, l + 1 < nb_snp ? l + 1 : -1, s, i, i == (int)G->HapsS[s] - 1, false);
		if (i == 0) {
			keep(B, A.cells[l & 1].data(), A.sums[l & 1].data(), G->HapsC[s], levels[site_block[l]].size(), A.width, T.active(s));
			if (-- s >= 0) i = G->HapsS[s] - 1;
		} else i --;
	}
	// Kept from the last segment to the first: put them in segment order.
	std::reverse(B.I.begin(), B.I.end());
	std::reverse(B.J.begin(), B.J.end());
	std::reverse(B.X.begin(), B.X.end());
}

void haplotype_graph::step(genotype_graph * G, hmm_parameters & M, const segment_links & T, lattice & A, int l, int from, int s, int i, bool boundary, bool forwards) {
	const int W = A.width, b = site_block[l], X = levels[b].size(), j = l - block_start[b];
	double * cur = A.cells[l & 1].data(), * cursum = A.sums[l & 1].data();
	const double * old = A.cells[(l + 1) & 1].data(), * oldsum = A.sums[(l + 1) & 1].data();
	emissionRows(allele_table[b].data() + j * table_stride[b], M.ed, M.ee, A.emit.data(), A.emit.data() + W, X);
	const unsigned int act = T.active(s);
	const double * cnt = counts[b].data();
	unsigned int mixed = ~0u;
	double mixS = 0.0;
	for (int h = 0 ; h < max_fragments ; h ++) if ((act >> h) & 1) {
		double * c = cur + h * W;
		const double * e = A.emit.data() + G->getA(s, h, i) * W;
		if (from < 0) cursum[h] = blockRow(cnt, 0.0, 1.0, cnt, e, c, X);
		else {
			const int bf = site_block[from];
			// The interval between the two sites carries the index of the left one.
			const int interval = forwards ? from : l;
			const double rec = M.rec[interval], nrec = M.nrec[interval];
			const double * mo = old + h * W;
			double ms = oldsum[h];
			if (boundary) {
				const unsigned int src = forwards ? T.forwardSources(s, h) : T.backwardSources(s, h);
				if (src != mixed) mixSources(src, old, oldsum, levels[bf].size(), A, mixS);
				mixed = src;
				mo = A.mix.data();
				ms = mixS;
			}
			if (bf == b) cursum[h] = blockRow(mo, nrec, ms * rec, cnt, e, c, X);
			else {
				std::fill(c, c + X, 0.0);
				// Forwards over the links from the block on the left, backwards over the
				// links to the block on the right.
				const sparse_matrix & L = links[forwards ? bf : b];
				for (int y = 0 ; y < L.rows() ; y ++) for (int en = L.R[y] ; en < L.R[y + 1] ; en ++) {
					if (forwards) c[L.C[en]] += ms * rec * L.VN[en] + mo[y] * L.VC[en] * nrec;
					else c[y] += ms * rec * L.VN[en] + mo[L.C[en]] * L.VC[en] * nrec;
				}
				double sum = 0.0;
				for (int x = 0 ; x < X ; x ++) {
					c[x] *= e[x];
					sum += c[x];
				}
				cursum[h] = sum;
			}
		}
	}
	if (l % rescale_step == 0) {
		double total = 0.0;
		for (int h = 0 ; h < max_fragments ; h ++) if ((act >> h) & 1) total += cursum[h];
		for (int h = 0 ; h < max_fragments ; h ++) if ((act >> h) & 1) {
			for (int x = 0 ; x < X ; x ++) cur[h * W + x] /= total;
			cursum[h] /= total;
		}
	}
}

// mix[x] = sum over the source fragments p of old(p, x), mixS the sum of their row sums.
void haplotype_graph::mixSources(unsigned int src, const double * old, const double * oldsum, int X, lattice & A, double & mixS) const {
	std::fill(A.mix.begin(), A.mix.begin() + X, 0.0);
	mixS = 0.0;
	for (int p = 0 ; p < max_fragments ; p ++) if ((src >> p) & 1) {
		const double * o = old + p * A.width;
		for (int x = 0 ; x < X ; x ++) A.mix[x] += o[x];
		mixS += oldsum[p];
	}
}

// Appends the C rows of a segment, X cells each, and their sums; inactive rows are zeros.
void haplotype_graph::keep(items & K, const double * cur, const double * cursum, int C, int X, int width, unsigned int act) const {
	K.I.push_back(K.P.size());
	K.J.push_back(K.S.size());
	K.X.push_back(X);
	for (int h = 0 ; h < C ; h ++) {
		const bool on = (act >> h) & 1;
		for (int x = 0 ; x < X ; x ++) K.P.push_back(on ? cur[h * width + x] : 0.0);
		K.S.push_back(on ? cursum[h] : 0.0);
	}
}

// Matrix of each graph segment boundary: forward item of the left segment, one step of the
// chain, backward item of the right segment. Pairs outside the links stay 0.
void haplotype_graph::interior(genotype_graph * G, hmm_parameters & M, const segment_links & T, items & F, items & B, std::vector < std::vector < std::vector < double > > > & prob, const std::string & form) {
	int l = -1;
	for (int g = 1 ; g < (int)G->HapsC.size() ; g ++) {
		l += G->HapsS[g - 1];
		const int bl = site_block[l], br = site_block[l + 1], XF = F.X[g - 1], XB = B.X[g];
		const double * Fc = F.P.data() + F.I[g - 1], * Fs = F.S.data() + F.J[g - 1], * Bc = B.P.data() + B.I[g];
		const double rec = M.rec[l], nrec = M.nrec[l];
		double total = 0.0;
		for (int a = 0 ; a < (int)G->HapsC[g - 1] ; a ++) for (int b = 0 ; b < (int)G->HapsC[g] ; b ++) {
			double cell = 0.0;
			if (T.linked(g, a, b)) {
				const double * f = Fc + a * XF, * k = Bc + b * XB;
				if (bl == br) for (int x = 0 ; x < XF ; x ++) cell += (Fs[a] * rec * counts[bl][x] + f[x] * nrec) * k[x];
				else {
					const sparse_matrix & L = links[bl];
					for (int x = 0 ; x < L.rows() ; x ++) for (int en = L.R[x] ; en < L.R[x + 1] ; en ++)
						cell += (Fs[a] * rec * L.VN[en] + f[x] * L.VC[en] * nrec) * k[L.C[en]];
				}
			}
			prob[g][a][b] = cell;
			total += cell;
		}
		const std::string where = " / i=" + sutils::int2str(G->index) + " b=" + sutils::int2str(bl) + " sp=" + sutils::int2str(g);
		if (underflow > total) throw myException("Underflow in expectation" + form + where);
		if (std::isnan(total)) throw myException("Nan in expectation" + form + where);
		for (int a = 0 ; a < (int)G->HapsC[g - 1] ; a ++) for (int b = 0 ; b < (int)G->HapsC[g] ; b ++) prob[g][a][b] /= total;
	}
}
