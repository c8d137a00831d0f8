#include "modes/phaser/phaser.h"
#include "duohmm/pedhap.h"
#include "modules/normaliser.h"
#include "modules/pruner.h"
#include "modules/rare_phaser.h"
#include "modules/solver.h"
#include "objects/snp_set.h"
#include "output/graph_writer.h"
#include "output/haplotype_writer.h"
#include "utils/assertion.h"
#include "utils/autils.h"
#include "utils/lfile.h"
#include "utils/sutils.h"

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <sstream>

// Per-thread tables, sized once for the largest graph type and transition group count:
// thread_probs[thread][mask][group][from][to]. Pruning only shrinks graphs, so the tables
// stay large enough for the whole run.
void phaser::allocateMemory() {
	int max_type = 0, max_groups = 0;
	for (genotype_graph * G : GH.vecG) {
		max_type = std::max(max_type, (int)G->type);
		max_groups = std::max(max_groups, (int)G->probsC.size());
	}
	std::vector < std::vector < double > > table (8, std::vector < double > (8, 0.0));
	std::vector < std::vector < std::vector < double > > > groups (max_groups, table);
	std::vector < std::vector < std::vector < std::vector < double > > > > masks (max_type, groups);
	thread_probs = std::vector < std::vector < std::vector < std::vector < std::vector < double > > > > > (n_thread, masks);
	thread_models.clear();
	for (int t = 0 ; t < n_thread ; t ++) thread_models.emplace_back(new haplotype_segment(GH, GH.vecH, drawn_known));
}

void phaser::desallocateMemory() {
	std::vector < std::vector < std::vector < std::vector < std::vector < double > > > > > ().swap(thread_probs);
	thread_models.clear();
}

// Same shuffle as std::random_shuffle over rand(), written out so that the order does not
// depend on the standard library.
static void shuffleList(std::vector < std::vector < int > > & v) {
	for (int i = 1 ; i < (int)v.size() ; i ++) std::swap(v[i], v[rand() % (i + 1)]);
}

static void shuffleList(std::vector < int > & v) {
	for (int i = 1 ; i < (int)v.size() ; i ++) std::swap(v[i], v[rand() % (i + 1)]);
}

// Work of the window model on a graph: its fragments summed over its sites.
static long graphCost(const genotype_graph * G) {
	long cost = 0;
	for (unsigned int s = 0 ; s < G->HapsC.size() ; s ++) cost += (long)G->HapsC[s] * G->HapsS[s];
	return cost;
}

// The workers of a batch claim its graphs in order and wait for the last one at its end:
// the graphs of each batch go by decreasing work, so that the longest start first and the
// short ones fill in the gaps at the end.
static void balanceBatches(std::vector < int > & order, const std::vector < genotype_graph * > & graphs, int batch) {
	std::vector < long > cost (graphs.size());
	for (int i : order) cost[i] = graphCost(graphs[i]);
	for (size_t b = 0 ; b < order.size() ; b += batch) {
		const auto last = order.begin() + std::min(order.size(), b + batch);
		std::stable_sort(order.begin() + b, last, [&cost](int x, int y) { return cost[x] > cost[y]; });
	}
}

// Graphs of one type stay together: only the order of the types and the order within a
// type change from one iteration to the next.
void phaser::shuffle() {
	orderG.clear();
	std::vector < std::vector < int > > byType (4);
	for (int i = 0 ; i < (int)GH.vecG.size() ; i ++) {
		int type = GH.vecG[i]->type;
		sorvane_assert(type >= 1 && type <= 4);
		byType[type - 1].push_back(i);
	}
	for (std::vector < int > & l : byType) shuffleList(l);
	shuffleList(byType);
	for (std::vector < int > & l : byType) orderG.insert(orderG.end(), l.begin(), l.end());
	if (n_batch > 1) balanceBatches(orderG, GH.vecG, n_batch);
	sorvane_assert(orderG.size() == GH.vecG.size());
}

void phaser::phaseMcmc() {
	int B = settings.burn;
	int R = pruningRuns();
	int P = settings.prune;
	int M = settings.main;
	endStage("graphs");
	n_iterations = B + R * P + M;

	weighGraphs();
	// Burn-in: the chance of drawing on doubled weights falls from 1 to 0 (NaN with one
	// iteration, so never).
	stage_burnin = true;
	for (int i = 1 ; i <= B ; i ++) {
		p_random = (double)(B - i) / (double)(B - 1);
		shuffle();
		phaseIteration("Burn-in iteration [" + sutils::int2str(i) + "/" + sutils::int2str(B) + "]");
	}

	stage_burnin = false;
	p_random = 0.0;
	for (int r = 1 ; r <= R ; r ++) {
		for (int i = 1 ; i <= P ; i ++) {
			shuffle();
			std::string name = "Pruning iteration [" + sutils::int2str(i) + "/" + sutils::int2str(P) + "]";
			if (R > 1) name = "Run [" + sutils::int2str(r) + "/" + sutils::int2str(R) + "] " + name;
			phaseIteration(name);
		}
		pruner(GH, 0.99, *workers).prune();
		GH.summarise();
		weighGraphs();
	}

	for (int i = 1 ; i <= M ; i ++) {
		shuffle();
		phaseIteration("Main iteration [" + sutils::int2str(i) + "/" + sutils::int2str(M) + "]");
	}

	normaliser(GH, *workers).normalise();
	endStage("iterations");
}

// Against the reference panel alone: one burn-in in the graph form whatever the model,
// then one pruning and one main iteration.
void phaser::phaseNoMcmc() {
	endStage("graphs");
	n_iterations = predefined_states ? 2 : 3;
	weighGraphs();
	stage_burnin = true;
	p_random = 0.0;
	shuffle();
	if (!predefined_states) phaseGraph("Burn-in iteration [1/1]");
	stage_burnin = false;
	p_random = 0.0;
	shuffle();
	phaseIteration("Pruning iteration [1/1]");
	pruner(GH, 0.99, *workers).prune();
	GH.summarise();
	weighGraphs();
	shuffle();
	phaseIteration("Main iteration [1/1]");
	normaliser(GH, *workers).normalise();
	endStage("iterations");
}

void phaser::weighGraphs() {
}

int phaser::pruningRuns() {
	return settings.runs;
}

void phaser::phaseIteration(std::string name) {
	if (model_version1) phaseGraph(name);
	else if (predefined_states) phaseSegmentPredefined(name);
	else phaseSegment(name);
}

void phaser::phaseSegment(std::string name) {
	if (pbwt_selection) GH.pbwt.build(GH.vecH, GH.sites->size(), pbwt_step);
	runBatches(name, &phaser::phaseSegment, false);
}

void phaser::phaseSegmentPredefined(std::string name) {
	runBatches(name, &phaser::phaseSegmentPredefined, false);
}

// All allowed haplotypes go into one graph for the iteration.
void phaser::phaseGraph(std::string name) {
	runBatches(name, &phaser::phaseGraph, true);
}

// Allowed haplotypes of the families of the batch's individuals, ascending, once each.
void phaser::batchFamilyHaplotypes(const std::vector < int > & batch, std::vector < int > & haps) {
	haps.clear();
	for (int ind : batch) for (int r : GH.relatives[ind]) for (int h : GH.ind2hap[r]) if (hap_mask[h]) haps.push_back(h);
	std::sort(haps.begin(), haps.end());
	haps.erase(std::unique(haps.begin(), haps.end()), haps.end());
}

// One iteration by batches of n_batch individuals, which the workers claim one by one. The
// haplotypes of the whole batch are kept out of every conditioning set of the batch, so
// workers write their own individual's haplotypes into vecH without locks; the batch ends
// when all its individuals are done. The window form masks them, clearing their bits when
// the batch opens and setting them back when it closes, so that a batch costs its own size;
// the graph form takes them out of the graph and puts them back in their new form after the
// batch, so that the graph follows the samples.
void phaser::runBatches(std::string name, void (phaser::*step)(int, int), bool graph) {
	LOG.println("");
	LOG.printL(name);
	const auto start = std::chrono::steady_clock::now();
	const int N = GH.vecG.size();
	n_sampled = 0;
	n_stored = 0;
	const std::vector < bool > & open = conditioningMask();
	hap_mask = open;
	if (graph) {
		autils::findUniqueSet(hap_mask, graph_haps);
		graph_model.reset(new haplotype_graph(GH.vecH, graph_haps, settings.states));
	}
	std::vector < int > batch, moved;
	auto openBatch = [&](int first, int last) {
		batch.assign(orderG.begin() + first, orderG.begin() + last);
		if (graph) {
			batchFamilyHaplotypes(batch, moved);
			for (int h : moved) graph_model->rem(GH.vecH[h]);
		} else GH.subsetHaplotypes_thread(hap_mask, batch);
	};
	// The progress line is rewritten at most every tenth of a second, and at the end: on many
	// threads, batches can be shorter than its text takes to make.
	double shown = -1.0;
	auto closeBatch = [&](int, int done) {
		if (graph) for (int h : moved) graph_model->add(GH.vecH[h]);
		else for (int ind : batch) for (int h : GH.ind2hap[ind]) hap_mask[h] = open[h];
		const double seconds = std::chrono::duration < double > (std::chrono::steady_clock::now() - start).count();
		if (done < N && seconds - shown < 0.1) return;
		shown = seconds;
		std::string progress = "\r" + name + " [" + sutils::int2str(done) + "/" + sutils::int2str(N) + "]";
		if (graph) {
			const int levels = graph_model->levels.size();
			progress += " (Hg:b=" + sutils::double2str((double)GH.sites->size() / levels, 1) + "/s=" + sutils::int2str(levels) + ")";
		}
		if (done < N) progress += timeLeft((double)done / N, seconds);
		else {
			n_iterations_done ++;
			iteration_seconds += seconds;
			progress += " " + sutils::duration2str(seconds) + timeLeft(0.0, 0.0);
		}
		LOG.printC(progress);
	};
	workers->batches(N, n_batch, openBatch, [&](int item, int worker) { (this->*step)(orderG[item], worker); }, closeBatch);
	graph_model.reset();
	LOG.println("");
	LOG.printlnL("  * Time: " + sutils::duration2str(std::chrono::duration < double > (std::chrono::steady_clock::now() - start).count()));
}

// From the mean time of an iteration so far; nothing once the last one is done.
std::string phaser::timeLeft(double fraction, double seconds) {
	const double done = n_iterations_done + fraction;
	const double left = n_iterations - done;
	if (done <= 0 || left <= 0) return "";
	return " / ~" + sutils::duration2str((iteration_seconds + seconds) / done * left) + " left";
}

void phaser::endStage(const std::string & name) {
	const auto now = std::chrono::steady_clock::now();
	const double seconds = std::chrono::duration < double > (now - stage_mark).count();
	stage_mark = now;
	for (auto & s : stage_seconds) if (s.first == name) {
		s.second += seconds;
		return;
	}
	stage_seconds.push_back({ name, seconds });
}

// In the log only, the processor time individuals took in the iterations, from which the
// waiting at the ends of batches can be worked out for other thread counts and batch sizes.
void phaser::logItemTimes() {
	const work_queue & W = *workers;
	if (W.items_timed == 0) return;
	std::ostringstream line;
	line << "Processor seconds per individual in " << W.batch_count << " batches of " << n_batch << " on " << W.size() << " threads (" << W.serial_seconds << " s opening and closing batches): mean " << W.work_seconds / W.items_timed << ", quantiles";
	for (double q : { 0.0, 0.05, 0.1, 0.2, 0.3, 0.4, 0.5, 0.6, 0.7, 0.8, 0.9, 0.95, 0.99, 0.999, 1.0 }) line << " " << 100 * q << "%:" << W.itemQuantile(q);
	LOG.printlnL(line.str());
}

// Most likely haplotypes from the stored probabilities, then the haplotype and graph files.
// The graphs are written after solve, which changes only the haplotypes.
void phaser::write_files_and_finalise() {
	sorvane::write_files_and_finalise();
	desallocateMemory();
	if (workers->size() > 1 && workers->batch_seconds > 0) LOG.printlnL("\nThreads waited at the ends of batches for " + sutils::double2str(100.0 * (1.0 - workers->busy_seconds / workers->batch_seconds), 1) + " % of their time");
	logItemTimes();
	if (options.count("output-max") || options.count("output-vcf")) {
		solver(GH, *workers).solve();
		if (!options.count("no-rare-phasing")) rare_phaser(GH, &read_pinned).phase(*workers);
		if (options.count("duohmm")) refinePedigrees();
		endStage("solving");
		haplotype_writer writerH(filter_out, GH, sample_header1, sample_header2, false);
		writerH.orient(known_phases);
		if (options.count("output-max")) {
			std::vector < std::string > f = fileSet("output-max", { ".haps", ".sample" });
			writerH.writeHaplotypeHap(f[0], f[1]);
		}
		if (options.count("output-vcf")) writerH.writeHaplotypeVcf(options["output-vcf"].as < std::string > (), true, !options.count("no-rare-phasing"), pbwt_selection, *workers);
	}
	if (options.count("output-graph")) {
		graph_writer writerG(GH, sample_header1, sample_header2);
		writerG.writeBinaryGraph(options["output-graph"].as < std::string > ());
	}
	endStage("writing");
	std::string times;
	for (const auto & s : stage_seconds) times += (times.empty() ? "" : " / ") + s.first + " " + sutils::duration2str(s.second);
	LOG.println("\nTime by stage: " + times);
}

// On the most likely haplotypes, before they are written: families made consistent with the
// pedigree, then the reports asked for, on the refined haplotypes.
void phaser::refinePedigrees() {
	LOG.println("\nRefining the haplotypes of families with the pedigree [duoHMM]");
	pedhap P(filter_out, GH, sample_header1, sample_header2, 100);
	P.correct();
	if (options.count("output-duohmm-errors")) P.genotypingError(options["output-duohmm-errors"].as < std::string > ());
	if (options.count("output-duohmm-recombination")) P.recombinationMap(options["output-duohmm-recombination"].as < std::string > ());
	P.haps->getSORVANE2(filter_out, GH);
}
