#ifndef _HAPLOTYPE_WRITER_H
#define _HAPLOTYPE_WRITER_H

#include "containers/genhap_set/genhap_set.h"
#include "input/filter_writer.h"
#include "utils/ofile.h"

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
	void writeHaplotypeVcf(std::string vcf);

private:
	void add(const std::string & id, int order, int index, int kind);
	const std::string & identifier(const haplotype_index & h) const;
	const std::vector < std::string > & fields(const haplotype_index & h) const;
	void writeSamples(ofile & f) const;
	// Per output sample, the haplotypes of its first and second column.
	std::vector < const chaplotype * > columns(int which) const;
};

#endif
