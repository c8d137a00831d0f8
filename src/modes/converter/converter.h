#ifndef _CONVERTER_H
#define _CONVERTER_H

#include "containers/genhap_set/genhap_set.h"
#include "modes/sorvane.h"
#include "objects/haplotype_pairs.h"
#include "utils/work_queue.h"

#include <memory>
#include <string>
#include <vector>

// The -convert mode: haplotypes drawn or maximised from binary graph files, pair tables
// over sets of sites, and HAPS/SAMPLE files converted or subset into the other formats.
class converter : public sorvane {
public:
	// The site list read with the graphs or haplotypes; declared before GH, it goes after it.
	std::unique_ptr < snp_set > sites;
	genhap_set GH;
	std::string sample_header1;
	std::string sample_header2;
	std::vector < haplotype_pairs > pairs;
	// The threads of the graph stages, made at their first use.
	std::unique_ptr < work_queue > pool;

	converter();
	~converter();

	void declare_options() override;
	void check_options() override;
	void check_files() override;
	void verbose_mode() override;
	void read_files_and_initialise() override;
	void write_files_and_finalise() override;

private:
	bool fromGraphs();
	work_queue & workers();
	void readGraphs();
	void readHaplotypes();
	void readSets();
	void writeGraphOutputs();
	void samplePairs();
	void writeHaplotypeOutputs();
	void writeHaps(const std::string & option);
	void writeVcf(bool confidence);
};

#endif
