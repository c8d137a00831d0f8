#ifndef _PHASER_H
#define _PHASER_H

#include "containers/genhap_set/genhap_set.h"
#include "models/haplotype_graph.h"
#include "models/haplotype_segment.h"
#include "models/hmm_parameters.h"
#include "modes/sorvane.h"
#include "output/haplotype_writer.h"
#include "utils/work_queue.h"

#include <atomic>
#include <chrono>
#include <map>
#include <memory>
#include <string>
#include <vector>

class genotype_reader;

// The options that the iterations and their threads read, taken once from the checked
// command line (settle), so that no worker looks an option up by name.
struct phasing_settings {
	int burn;
	int prune;
	int main;
	int runs;
	// Conditioning states per window by selection: Hamming (or PBWT), perfect match,
	// random, coverage.
	int states;
	int states_pmatch;
	int states_random;
	int states_cov;
	// --thread as given.
	int threads;
	bool no_mcmc;
};

// The phasing mode.
class phaser : public sorvane {
public:
	// The window model needs at least this many conditioning haplotypes in each window.
	static constexpr int min_conditioning = 2;
	// Samples in a batch of the iterations, per thread; the samples of a batch are hidden
	// from one another, so a batch takes at most one sample in batch_share, and at least one
	// per thread.
	static constexpr int batch_per_thread = 16;
	static constexpr int batch_share = 32;
	// Sites between two checkpoints of the transform for --selection pbwt. Sparser checkpoints
	// let the walks of a window reach deeper matches at each one before the states run out:
	// 16 phases 5,000 array samples ten times better than 8 at no loss elsewhere (bench/README.md).
	static constexpr int pbwt_step = 16;
	static constexpr int pbwt_auto_haplotypes = genhap_set::pbwt_auto_haplotypes;
	static constexpr int small_study_states = 200;
	// Window size (Mb) of the transform's selection when --window is not given: its states
	// then stay local enough for every site to have close matches among them.
	static constexpr double pbwt_window = 0.5;
	// Rounds of pruning when the transform selects and --run is not given: each pruning
	// merges the graphs' segments over longer stretches, and three rounds cut the long
	// switches across stretches of 30 kb or more without a heterozygote to a third on 5,000
	// sequenced samples (bench/README.md, "Rounds of pruning").
	static constexpr int pbwt_runs = 3;

	// The study's sites, taken over from the genotype store: GH, the graphs and the writers
	// use them to the end of the run. Declared first, they go after GH.
	std::unique_ptr < snp_set > sites;
	genhap_set GH;
	// The order of the graphs in the current iteration, a permutation of 0 .. N - 1.
	std::vector < int > orderG;
	// Haplotypes open to conditioning in the current batch: the mask of the iteration
	// without the haplotypes of the batch, cleared when the batch opens and set back when it
	// closes.
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
	// Threads used: --thread, lowered to what the batches can use (see limitThreads); the
	// workers of the whole run; samples phased at once in a batch of the iterations.
	int n_thread;
	std::unique_ptr < work_queue > workers;
	int n_batch;
	bool predefined_states;
	// The Hamming states are taken as the longest local matches of the positional
	// Burrows-Wheeler transform, rebuilt from vecH at the start of every iteration: with
	// --selection pbwt, or auto with a panel or enough haplotypes to copy from
	// (initialiseModel).
	bool pbwt_selection;
	// Mean size of the windows of the window model, in Mb.
	double window_mb;
	// Conditioning alleles at sites where their sample is missing count as known (see
	// haplotype_segment); phasing leaves them out.
	bool drawn_known;
	// User copying states: per graph, per window, the conditioning haplotypes; and the site
	// index where each window starts, the last site closing the last window.
	std::vector < std::vector < std::vector < int > > > copy_states;
	std::vector < std::vector < int > > copy_bounds;
	// Per thread, per mask, per transition group: 8 x 8 tables of transition probabilities.
	std::vector < std::vector < std::vector < std::vector < std::vector < double > > > > > thread_probs;
	// Seconds of the stages of the run (reading, graphs, iterations, solving, writing), each
	// ended by endStage; the iterations of the run, those done and the seconds they took,
	// from which each iteration line tells the time left.
	std::vector < std::pair < std::string, double > > stage_seconds;
	std::chrono::steady_clock::time_point stage_mark;
	int n_iterations;
	int n_iterations_done;
	double iteration_seconds;
	// Per thread, the window model, whose buffers serve all the individuals of the thread.
	std::vector < std::unique_ptr < haplotype_segment > > thread_models;
	// The allowed haplotypes compressed into one graph, alive during one graph-form iteration,
	// and the list of those haplotypes that it was built from.
	std::unique_ptr < haplotype_graph > graph_model;
	std::vector < int > graph_haps;
	// Header lines of the SAMPLE file, kept for the output once the readers are gone.
	std::string sample_header1;
	std::string sample_header2;
	// Samples whose output columns keep a phase given with the input (the scaffolds of -call).
	std::map < std::string, known_phase > known_phases;
	// Per unit, the sites whose phase reads gave (ascending): the singleton placement keeps
	// them. Empty without reads.
	std::vector < std::vector < int > > read_pinned;

	phasing_settings settings {};

	phaser();
	~phaser();

	void declare_options() override;
	void check_options() override;
	void settle() override;
	void check_files() override;
	void verbose_mode() override;
	void verbose_options() override;
	void read_files_and_initialise() override;
	// The iterations, or with --no-mcmc the phasing against the panel alone.
	void work() override;
	void write_files_and_finalise() override;

	void readCopyingStates(std::string file);
	void limitThreads();
	const std::vector < bool > & conditioningMask();

	void allocateMemory();
	void desallocateMemory();
	void shuffle();
	void phaseMcmc();
	void phaseNoMcmc();
	virtual void phaseIteration(std::string name);
	void phaseSegment(std::string name);
	void phaseSegmentPredefined(std::string name);
	// One individual of a batch, on the tables of `worker`.
	void phaseSegment(int ind, int worker);
	void phaseSegmentPredefined(int ind, int worker);
	void phaseGraph(std::string name);
	void phaseGraph(int ind, int worker);

protected:
	// name: what the messages of a mode built on phasing call it.
	explicit phaser(const std::string & name);
	// Steps of the set-up shared with the modes built on phasing.
	void readSamples(genotype_reader & readerG);
	void readPanelAndMap(reference_reader & readerR, snp_set * study_sites);
	void buildGraphs(genotype_reader & readerG, reference_reader & readerR, std::vector < std::map < std::string, int > > & units);
	void initialiseHaplotypes();
	void initialiseModel();
	// Weights of the graph transitions besides the model's, made before the first iteration
	// and again after each pruning, which renumbers the transitions. Phasing has none.
	virtual void weighGraphs();
	// Rounds of pruning iterations, each ending in a pruning of the graphs.
	virtual int pruningRuns();
	// The settings that the modes built on phasing list under their mode line.
	void verboseSettings();
	// "N iterations [B B + R runs of P P + M M]" of the current settings.
	std::string scheduleText();

private:
	void checkRange(const std::string & option, int low, int high);
	void endStage(const std::string & name);
	// The estimate of the time left, with `fraction` of the current iteration done in `seconds`.
	std::string timeLeft(double fraction, double seconds);
	void checkPedigreeColumns();
	void refinePedigrees();
	// One iteration by batches; in the graph form the batch's families leave graph_model
	// while the batch runs, instead of being masked.
	void runBatches(std::string name, void (phaser::*step)(int, int), bool graph);
	void batchFamilyHaplotypes(const std::vector < int > & batch, std::vector < int > & haps);
	void logItemTimes();
	// Expectation of the copying model, a new draw and, after burn-in, the stored
	// probabilities; `count` adds to n_sampled and n_stored.
	template < class Model > void runModel(int ind, int worker, Model & model, bool count);
};

#endif
