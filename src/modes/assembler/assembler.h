#ifndef _ASSEMBLER_H
#define _ASSEMBLER_H

#include "models/pir_file.h"
#include "modes/phaser/phaser.h"

#include <mutex>
#include <string>
#include <vector>

// The -assemble mode: phasing in which the phase informative reads of a PIR file weigh the
// transitions of every unrelated sample's graph before burn-in and again after pruning, so
// that the sampler favours the phases the reads support; the heterozygotes that a read joins
// to another are pinned against the singleton placement.
class assembler : public phaser {
public:
	// Totals of one pass over the PIR file: records read, used, of samples not in the data,
	// and of samples phased in duos or trios.
	long n_sample_read, n_sample_used, n_absent, n_family;
	long n_group, n_group_used;
	long n_het, n_het_covered;
	long n_pir, n_pir_used;
	// Guards the totals, which every worker adds to.
	std::mutex mutex_assemble;

	assembler();
	~assembler();

	void declare_options() override;
	void check_files() override;
	void verbose_mode() override;

	// One pass over the PIR file; one record of it, false at the end of the file.
	void assemble();
	bool assembleRecord(pir_file & records);
	void phaseIteration(std::string name) override;

protected:
	void weighGraphs() override;
	int pruningRuns() override;
};


#endif
