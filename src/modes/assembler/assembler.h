#ifndef _ASSEMBLER_H
#define _ASSEMBLER_H

#include "modes/phaser/phaser.h"
#include "utils/ifile.h"

#include <mutex>
#include <string>
#include <vector>

// The -assemble mode: phasing in which the phase informative reads of a PIR file weigh the
// transitions of every unrelated sample's graph before burn-in and again after pruning, so
// that the sampler favours the phases the reads support.
class assembler : public phaser {
public:
	ifile fdi;
	// Lines of fdi read so far, for the messages on malformed input.
	int fdi_line;
	// PIR map index -> site index, -1 when the site is not in the data.
	std::vector < int > mapping;
	// Totals of one pass over the PIR file.
	long n_sample_read, n_sample_used;
	long n_group, n_group_used;
	long n_het, n_het_covered;
	long n_pir, n_pir_used;
	// Guards fdi, the log and the totals during a pass; always usable, whatever the thread count.
	std::mutex mutex_assemble;

	assembler();
	~assembler();

	void assemble(std::vector < std::string > & args);

	void declare_options() override;
	void check_files() override;
	void verbose_mode() override;
	void write_files_and_finalise() override;

	// One pass over the PIR file; one record of it.
	void assemble();
	void assemble(int job);
	void phaseIteration(std::string name) override;

protected:
	void weighGraphs() override;
	int pruningRuns() override;
};

// A worker of a pass: takes jobs from the counter of phaser until there are none left.
void * assembler_callback(void * arg);

#endif
