#ifndef _GENOTYPE_GRAPH_H
#define _GENOTYPE_GRAPH_H

#include "objects/chaplotype.h"
#include "objects/genotype.h"

#include <string>
#include <vector>

// A sampling unit as a chain of segments. Segment s lists HapsC[s] candidate fragments of
// HapsS[s] sites each; bit i of fragment h is Haps[HapsI[s] + h * HapsS[s] + i], and every
// fragment holds all sites of its segment. The type is the number of tracks n: 1 haploid;
// 2 unrelated; 3 duo (parent's transmitted, parent's other, child's other haplotype); 4 trio
// (father's transmitted, father's other, mother's other, mother's transmitted haplotype).
//
// S segments are joined by S + 1 groups of transitions: group g goes from segment g - 1 to
// segment g, group 0 from a virtual start and group S to a virtual end. A transition is n
// bytes of trans, one per track; a byte is (next fragment << 4) + previous fragment, and a
// position is a byte index into trans. probs holds one value per transition, group g
// starting at probsI[g] with probsC[g] values. One path through the groups is one phasing.
//
// Thousands of graphs live for the whole run: one packed bit string for all fragments, one
// byte per track and transition, float probabilities and counters reserved exactly.
class genotype_graph : public genotype {
public:
	std::vector < unsigned char > trans;
	std::vector < float > probs;
	std::vector < float > likes;
	std::vector < unsigned int > probsI;
	std::vector < unsigned int > probsC;
	chaplotype Haps;
	std::vector < unsigned int > HapsI;
	std::vector < unsigned int > HapsC;
	std::vector < unsigned int > HapsS;
	std::vector < bool > Ambs;
	std::vector < bool > Miss;
	// The two tracks of an unrelated graph are ordered by a phase scaffold.
	bool scaffolded;

	genotype_graph();
	genotype_graph(int type, int famID);

	// Filling.
	void pushHaps(std::vector < std::vector < bool > > & haps);
	void pushTrans(std::vector < std::vector < int > > & t);

	// Comparisons of the transitions at positions a and b.
	bool equalP(int a, int b) const;
	bool linked(int a, int b) const;

	// Queries.
	int getA(int seg, int hap, int site) const;
	int getB(int site) const;
	bool phased();
	int maxN(int g, int pos) const;
	int maxP(int g, int pos) const;
	void mask1D(int g, std::vector < bool > & seen) const;

	// Probability housekeeping.
	void reset();
	void initialise();
	void normalize();
	void sort();

	// Binary graph records: v2.1 and v2.2 carry the members, v2.0 only the type and the graph.
	void writeBinary(ofile & f);
	void readBinary(ifile & f);
	void readBinary20(ifile & f);
	// What makes a graph unusable over n_sites sites, empty when nothing does: counters out
	// of their bounds or not summing up, fragment indices past their segment, probabilities
	// that are not finite and non-negative, dead-end transitions.
	std::string structuralFault(int n_sites) const;

	// Building from genotypes, one bit per site. The family forms return the number of
	// genotypes set missing because they break Mendel's laws.
	int buildHap(std::vector < bool > & G0, std::vector < bool > & M);
	int buildUnr(std::vector < bool > & G0, std::vector < bool > & G1, std::vector < bool > & M);
	int buildUnr(std::vector < bool > & G0, std::vector < bool > & G1, std::vector < bool > & M, std::vector < bool > & S);
	int buildDuo(std::vector < bool > & P0, std::vector < bool > & P1, std::vector < bool > & PM, std::vector < bool > & C0, std::vector < bool > & C1, std::vector < bool > & CM);
	int buildTrio(std::vector < bool > & F0, std::vector < bool > & F1, std::vector < bool > & FM, std::vector < bool > & M0, std::vector < bool > & M1, std::vector < bool > & MM, std::vector < bool > & C0, std::vector < bool > & C1, std::vector < bool > & CM);

	// From one chosen transition per group back to full-length haplotypes, one per track.
	void buildGuesses(std::vector < chaplotype > & H, std::vector < int > & indexes, std::vector < int > & path);
	void buildGuesses(std::vector < std::vector < bool > > & out, std::vector < int > & path, int first, int last);

	// Pruning and merging of segments, and the windows and masks of the models.
	void pruneAndMerge(double threshold);
	int consolide(std::vector < bool > & keep);
	void join2cond();
	void conditionals(std::vector < float > & c) const;
	void mask(std::vector < std::vector < std::vector < std::vector < bool > > > > & masks);
	void cluster(int length, int window, std::vector < int > & start, std::vector < int > & stop, std::vector < int > & segStart, std::vector < int > & segStop);
	void cluster(std::vector < int > & breaks, std::vector < int > & start, std::vector < int > & stop, std::vector < int > & segStart, std::vector < int > & segStop);

	// Transition weights from the window model: prob[g][a][b] for all tracks of haploid and
	// unrelated graphs, probT[j][g][a][b] per track for duos and trios; a is a fragment of
	// segment g - 1 and b one of segment g. Sums below 1e-300 fall back to additive weights.
	double computeProbLD(int pos, std::vector < std::vector < double > > & m, bool additive);
	double computeProbLD(int pos, std::vector < std::vector < std::vector < double > > > & m, bool additive);
	double combineProbsWithLikes(int g, std::vector < double > & p);
	int store(std::vector < std::vector < std::vector < double > > > & prob);
	int store(std::vector < std::vector < std::vector < std::vector < double > > > > & probT);
	int sample(std::vector < chaplotype > & H, std::vector < int > & indexes, std::vector < std::vector < std::vector < double > > > & prob, bool additive);
	int sample(std::vector < chaplotype > & H, std::vector < int > & indexes, std::vector < std::vector < std::vector < std::vector < double > > > > & probT, bool additive);
	void sample(std::vector < chaplotype > & H, std::vector < int > & indexes, bool uniform);
	void maximize(std::vector < chaplotype > & H, std::vector < int > & indexes);
	void forward(std::vector < std::vector < double > > & F);
	void backward(std::vector < std::vector < double > > & B);
	void expectation(std::vector < std::vector < double > > & F, std::vector < std::vector < double > > & B);
	// Phase confidence of the member whose haplotypes are on tracks a and b: sites are its
	// heterozygous sites in order, alleles[k] its two alleles written at sites[k] (bit 0 the
	// first haplotype's, bit 1 the second's). pp[k - 1] is the probability that its two
	// haplotypes at sites[k - 1] and sites[k] are the written pair, whichever way round; NaN
	// where the graph gives no path any mass.
	void phaseConfidence(int a, int b, const std::vector < int > & sites, const std::vector < unsigned char > & alleles, std::vector < double > & pp) const;

	// Emission weights of the transitions from genotype likelihoods, three per site (0, 1, 2
	// copies of the second allele), over the sites left open by missing genotypes.
	void computeLikesFromGLsHap(std::vector < float > & GL);
	void computeLikesFromGLsUnr(std::vector < float > & GL);
	void computeLikesFromGLsDuo(std::vector < float > & GLp, std::vector < float > & GLc);
	void computeLikesFromGLsTri(std::vector < float > & GLf, std::vector < float > & GLm, std::vector < float > & GLc);
	void makeLikelihoods();

private:
	// Tracks of an unrelated graph without scaffold form unordered pairs.
	bool unordered() const { return type == 2 && !scaffolded; }
	bool matchNibbles(int a, int b, int shiftA, int shiftB) const;
	void stateKeys(size_t g, bool next, std::vector < unsigned int > & keys) const;
	template < class SiteRule > void buildSegments(int n_sites, unsigned int max_states, SiteRule rule);
	int buildFamily(std::vector < bool > ** A0, std::vector < bool > ** A1, std::vector < bool > ** AM);
	void followPath(int g, int choice, int * cur);
	typedef std::vector < std::vector < double > > matrix;
	double weight(int pos, const matrix * const * m, bool additive, bool doubling) const;
	unsigned int largestGroup() const;
	template < class Tables > int storeWith(Tables tables, bool doubling, const std::string & where);
	template < class Tables > int sampleWith(std::vector < chaplotype > & H, std::vector < int > & indexes, Tables tables, bool doubling, bool additive, const std::string & where);
	void forward(const std::vector < float > & w, std::vector < std::vector < double > > & F) const;
	void backward(const std::vector < float > & w, std::vector < std::vector < double > > & B) const;
	double pairProbability(const std::vector < float > & w, const std::vector < std::vector < double > > & F, const std::vector < std::vector < double > > & B, int a, int b, int s1, int l1, int s2, int l2, unsigned char x1, unsigned char x2) const;
	template < class Choose > void walk(std::vector < int > & path, Choose choose);
	template < class Weight > double groupWeights(int g, bool backward, const std::vector < int > & path, std::vector < double > & w, Weight weigh) const;
	void computeLikes(const std::vector < float > * const * GL, const int (* genotypes)[2], int members);
};

// Extends each fragment of `state` by one allele per track; fragments are shared between
// states and tracks through `index` (old fragment x allele -> new fragment, -1 when none).
// A new fragment is the byte (old fragment << 1) + allele: its bits are those of the old
// one with the allele appended.
void expand(std::vector < unsigned char > & newHaps, int (* index)[2], const int * state, std::vector < int > & newStates, int a0, int a1);
void expand(std::vector < unsigned char > & newHaps, int (* index)[2], const int * state, std::vector < int > & newStates, int a0, int a1, int a2);
void expand(std::vector < unsigned char > & newHaps, int (* index)[2], const int * state, std::vector < int > & newStates, int a0, int a1, int a2, int a3);

// Mendel compatibility of one allele per track with genotypes given as allele sums; a
// negative genotype (missing) fits anything.
bool isCompatible(int u0, int u1, int u2, int g1, int g2);
bool isCompatible(int u0, int u1, int u2, int u3, int g1, int g2, int g3);

// Appends the compatible candidates, the first track in the highest bit, in ascending order.
void getCandidate(std::vector < int > & c, int a0, int a1, int b0, int b1);
void getCandidate(std::vector < int > & c, int a0, int a1, int b0, int b1, int d0, int d1);

// Transitions are compared byte by byte on nibbles: these run in the innermost loops of
// sampling and pruning, hence defined here to be inlined.
inline bool genotype_graph::matchNibbles(int a, int b, int shiftA, int shiftB) const {
	const unsigned char * x = trans.data() + a;
	const unsigned char * y = trans.data() + b;
	switch (type) {
	case 1:
		return ((x[0] >> shiftA) & 15) == ((y[0] >> shiftB) & 15);
	case 2:
		if (((x[0] >> shiftA) & 15) == ((y[0] >> shiftB) & 15) && ((x[1] >> shiftA) & 15) == ((y[1] >> shiftB) & 15)) return true;
		return !scaffolded && ((x[0] >> shiftA) & 15) == ((y[1] >> shiftB) & 15) && ((x[1] >> shiftA) & 15) == ((y[0] >> shiftB) & 15);
	case 3:
	case 4:
		for (int j = 0 ; j < type ; j ++) if (((x[j] >> shiftA) & 15) != ((y[j] >> shiftB) & 15)) return false;
		return true;
	default:
		return false;
	}
}

inline bool genotype_graph::equalP(int a, int b) const {
	return matchNibbles(a, b, 0, 0);
}

inline bool genotype_graph::linked(int a, int b) const {
	return matchNibbles(a, b, 4, 0);
}

inline int genotype_graph::getA(int seg, int hap, int site) const {
	return Haps.get(HapsI[seg] + hap * HapsS[seg] + site);
}

#endif
