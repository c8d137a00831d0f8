#ifndef _MUTINCLUDER_H
#define _MUTINCLUDER_H

#include "containers/genhap_set/genhap_set.h"
#include "models/pir_file.h"
#include "modes/sorvane.h"

#include <memory>
#include <mutex>
#include <string>
#include <vector>

// The -mutinclude mode: new heterozygous sites, in the VCF but not in a phased scaffold, are
// placed onto each sample's two scaffold haplotypes by the reads of a PIR file.
class mutincluder : public sorvane {
public:
	// Status values of a site of one sample; a site to phase that the reads decide takes the
	// probability of the placement chosen, in [0.5, 1].
	static constexpr float to_phase = -1.0f;
	static constexpr float homozygous = -2.0f;
	static constexpr float anchor = -3.0f;
	static constexpr float anchor_homozygous = -4.0f;

	std::string sample_header1;
	std::string sample_header2;
	// The sites of the VCF: GH and the writers use them to the end of the run.
	std::unique_ptr < snp_set > sites;
	genhap_set GH;
	// Per sample, one status value per site.
	std::vector < std::vector < float > > status;
	// Guards the totals, which every worker adds to.
	std::mutex mutex_totals;
	long n_het, n_het_covered, n_seen, n_phased, n_pir, n_pir_used;
	// Records read, and those of samples not in the data.
	long n_record, n_absent;

	mutincluder();
	~mutincluder();

	void declare_options() override;
	void check_files() override;
	void verbose_mode() override;
	void verbose_options() override;
	void read_files_and_initialise() override;
	// One pass over the PIR file.
	void work() override;
	void write_files_and_finalise() override;

	// One record of the PIR file, false at the end of the file.
	bool includeRecord(pir_file & records);
};

#endif
