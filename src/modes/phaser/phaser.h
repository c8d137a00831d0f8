#ifndef _PHASER_H
#define _PHASER_H

#include "containers/genhap_set/genhap_set.h"
#include "models/hmm_parameters.h"
#include "modes/sorvane.h"

#include <atomic>
#include <map>
#include <memory>
#include <string>
#include <vector>

class genotype_reader;

// The phasing mode.
class phaser : public sorvane {
public:
	// The window model needs at least this many conditioning haplotypes in each window.
	static const int min_conditioning = 2;

	// The study's sites, taken over from the genotype store: GH, the graphs and the writers
	// use them to the end of the run. Declared first, they go after GH.
	std::unique_ptr < snp_set > sites;
	genhap_set GH;
	// The order of the graphs in the current iteration, a permutation of 0 .. N - 1.
	std::vector < int > orderG;
	// Haplotypes open to conditioning in the current batch.
	std::vector < bool > hap_mask;
	hmm_parameters hmm;
	// No probabilities are stored during burn-in.
	bool stage_burnin;
	// Unrelated individuals pick their nearest haplotypes with the IBD-aware selection.
	bool ibd_relatives;
	bool model_version1;
	// Chance that a draw is made on the doubled (additive) weights.
	double p_random;
	// Sums of what sample and store return in one iteration, by all threads; only informative.
	std::atomic < int > n_sampled;
	std::atomic < int > n_stored;
	// Threads used: --thread, lowered to what the batches can use (see limitThreads).
	int n_thread;
	bool predefined_states;
	// Conditioning alleles at sites where their sample is missing count as known (see
	// haplotype_segment); phasing leaves them out.
	bool drawn_known;
	// User copying states: per graph, per window, the conditioning haplotypes; and the site
	// index where each window starts, the last site closing the last window.
	std::vector < std::vector < std::vector < int > > > copy_states;
	std::vector < std::vector < int > > copy_bounds;
	// Per thread, per mask, per transition group: 8 x 8 tables of transition probabilities.
	std::vector < std::vector < std::vector < std::vector < std::vector < double > > > > > thread_probs;
	// Header lines of the SAMPLE file, kept for the output once the readers are gone.
	std::string sample_header1;
	std::string sample_header2;

	phaser();
	~phaser();

	void phase(std::vector < std::string > & args);
	void stopOnUnbuiltOptions();

	void declare_options() override;
	void check_options() override;
	void check_files() override;
	void verbose_mode() override;
	void verbose_options() override;
	void read_files_and_initialise() override;
	void write_files_and_finalise() override;

	void readCopyingStates(std::string file);
	void limitThreads();
	const std::vector < bool > & conditioningMask();

	void allocateMemory();
	void desallocateMemory();
	void shuffle();
	void phaseMcmc();
	virtual void phaseIteration(std::string name);
	void phaseSegment(std::string name);
	void phaseSegmentPredefined(std::string name);
	void phaseSegment(int slot);
	void phaseSegmentPredefined(int slot);

protected:
	// Steps of the set-up shared with the modes built on phasing.
	void readSamples(genotype_reader & readerG);
	void readPanelAndMap(reference_reader & readerR, snp_set * study_sites);
	void buildGraphs(genotype_reader & readerG, reference_reader & readerR, std::vector < std::map < std::string, int > > & units);
	void initialiseHaplotypes();
	void initialiseModel();
	// Weights of the graph transitions besides the model's, made before the first iteration
	// and again after each pruning, which renumbers the transitions. Phasing has none.
	virtual void weighGraphs();

private:
	void checkRange(const std::string & option, int low, int high);
	void runBatches(std::string name, void * (*callback)(void *), void (phaser::*step)(int));
	void runModel(int ind, int slot, std::vector < std::vector < int > > & conditional_index, std::vector < int > & left_site, std::vector < int > & right_site, std::vector < int > & left_segment, std::vector < int > & right_segment);
};

// Thread entries of one batch: each thread claims one slot of idx_workers and phases that individual.
void * phaseSegment_callback(void * arg);
void * phaseSegmentPredefined_callback(void * arg);

#endif
