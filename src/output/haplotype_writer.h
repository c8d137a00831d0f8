#ifndef _HAPLOTYPE_WRITER_H
#define _HAPLOTYPE_WRITER_H

#include "containers/genhap_set/genhap_set.h"
#include "output/filter_writer.h"
#include "utils/ofile.h"
#include "utils/work_queue.h"

#include <map>
#include <string>
#include <vector>

// One output sample: its place in the input order, its graph in vecG, and which member of
// which kind of graph it is (0 haploid, 1 unrelated, 2 to 4 duo child, father, mother,
// 5 to 7 trio child, father, mother).
struct haplotype_index {
	int order;
	int index;
	int kind;
};

bool compare_haplotype_index(const haplotype_index & a, const haplotype_index & b);

// The phase of a sample known at some sites (a scaffold): per site, whether it is known,
// and the alleles of its two haplotypes there.
struct known_phase {
	std::vector < bool > known;
	std::vector < bool > hap0;
	std::vector < bool > hap1;
};

// Writes the haplotypes of a set back as one column pair per sample, in input sample order,
// as HAPS/SAMPLE, reference panel or VCF files. Samples are filtered once, when `order` is
// built; sites are filtered while each file is written.
class haplotype_writer {
public:
	filter_writer & filter;
	genhap_set & set;
	std::string sample_header1;
	std::string sample_header2;
	bool skip_children;
	std::vector < haplotype_index > order;

	haplotype_writer(filter_writer & filter, genhap_set & set, std::string sample_header1, std::string sample_header2, bool skip_children);

	void writeHaplotypeHap(std::string haps, std::string sample);
	void writeHaplotypeRef(std::string haplotypes, std::string legend, std::string samples);
	// With `confidence`, a FORMAT field PP gives for each heterozygous genotype but the first
	// of its sample the probability, from the graph's stored probabilities, that its phase
	// relative to the sample's previous heterozygous genotype is as written;
	// `singletons_placed` tells that singletons were placed from the haplotypes around them,
	// `transform_states` that the conditioning states were the transform's.
	void writeHaplotypeVcf(std::string vcf, bool confidence, bool singletons_placed, bool transform_states, work_queue & workers);

	// Per site whose minor allele has 2 to 5 carriers: each carrier haplotype that another
	// sample's carries too, with the most bp over which it agrees with one of those around
	// the site. `ones` counts allele 1 at each site.
	static std::vector < std::vector < std::pair < int, int > > > rareSpans(const std::vector < chaplotype > & H, const std::vector < int > & ones, const std::vector < int > & hap2ind, const snp_set & sites);
	// The share of pairs right at a rare allele whose carrier shares that span with another
	// sample's, among that many haplotypes.
	static double rareRate(int shared_bp, int haplotypes);
	// PP of a pair from the graph's probability p: `least` is the smaller minor allele count
	// of its two sites, `rare_rate` the least rareRate of its carriers of an allele of 2 to 5
	// carriers (-1 without any), `alike_share` the cohort's share of such pairs that the graph
	// weighs alike, `singleton` the PP of a placed singleton, `transform` whether the
	// transform selected the states.
	static double pairConfidence(double p, int least, double rare_rate, double alike_share, double singleton, bool transform);
	// Turns the two columns of each sample of `phases` to agree with its known phase: at
	// each known heterozygous site, and from there on to the next one, the columns are
	// exchanged where they stand the other way round. The sites before the first one
	// follow it.
	void orient(const std::map < std::string, known_phase > & phases);

private:
	// Per output sample, empty or one flag a site: the two columns are exchanged there.
	std::vector < std::vector < bool > > swaps;

	void add(const std::string & id, int order, int index, int kind);
	const std::string & identifier(const haplotype_index & h) const;
	const std::vector < std::string > & fields(const haplotype_index & h) const;
	void writeSamples(ofile & f) const;
	// Per output sample, the probabilities of the PP field at its heterozygous sites after the
	// first, in site order, over the sites written.
	void phaseConfidences(const std::vector < bool > & written, bool singletons_placed, bool transform_states, std::vector < std::vector < float > > & pp, work_queue & workers) const;
	// Per output sample, the haplotypes of its first and second column.
	std::vector < const chaplotype * > columns(int which) const;
	// The allele of column `which` of output sample k at site l, after orient.
	int allele(const std::vector < const chaplotype * > & c0, const std::vector < const chaplotype * > & c1, unsigned int k, int l, int which) const {
		bool swap = !swaps.empty() && !swaps[k].empty() && swaps[k][l];
		return (which != swap ? c1 : c0)[k]->get(l);
	}
	// The two alleles of every output sample at site l, space-separated, into line.
	void alleleLine(const std::vector < const chaplotype * > & c0, const std::vector < const chaplotype * > & c1, int l, std::string & line) const;
};

#endif
