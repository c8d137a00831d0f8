#include "modes/phaser/phaser.h"
#include "models/haplotype_segment.h"
#include "objects/snp_set.h"
#include "utils/assertion.h"
#include "utils/autils.h"
#include "utils/lfile.h"
#include "utils/myException.h"
#include "utils/putils.h"

#include <algorithm>
#include <cmath>
#include <iostream>
#include <new>

// One individual of the batch: random windows over its graph, conditioning haplotypes per
// window, then the window model, a new draw and, after burn-in, the stored probabilities.
void phaser::phaseSegment(int ind, int worker) {
	genotype_graph * G = GH.vecG[ind];
	if (G->phased()) return;

	std::vector < int > left_site, right_site, left_segment, right_segment;
	int span = GH.sites->vecS.back()->bp - GH.sites->vecS.front()->bp;
	int w = (int)floor(1000000 * window_mb);
	G->cluster(span, w, left_site, right_site, left_segment, right_segment);

	// Neither the batch nor the individual's own family may be copied from.
	const genhap_set::state_counts n = { settings.states, settings.states_pmatch, settings.states_random, settings.states_cov, ibd_relatives, min_conditioning, pbwt_selection };
	std::vector < std::vector < int > > conditional_index;
	GH.conditioningSets(hap_mask, ind, n, left_site, right_site, conditional_index);
	for (unsigned int k = 0 ; k < conditional_index.size() ; k ++) sorvane_assert((int)conditional_index[k].size() >= min_conditioning);
	haplotype_segment & HS = *thread_models[worker];
	HS.windows(conditional_index, left_segment, right_segment, left_site, right_site);
	runModel(ind, worker, HS, true);
}

// The same with the windows and conditioning haplotypes that the user gave.
void phaser::phaseSegmentPredefined(int ind, int worker) {
	genotype_graph * G = GH.vecG[ind];
	if (G->phased()) return;

	std::vector < int > left_site, right_site, left_segment, right_segment;
	G->cluster(copy_bounds[ind], left_site, right_site, left_segment, right_segment);
	int n_windows = left_site.size();
	sorvane_assert(n_windows == (int)copy_states[ind].size());

	// Computed as in the random windows, but the user's states are taken as they are.
	std::vector < bool > mask = hap_mask;
	GH.subsetHaplotypes_relatives(mask, ind);

	std::vector < std::vector < int > > conditional_index (n_windows);
	for (int k = 0 ; k < n_windows ; k ++) {
		std::vector < bool > selected (GH.vecH.size(), false);
		for (int h : copy_states[ind][k]) selected[h] = true;
		autils::findUniqueSet(selected, conditional_index[k]);
		sorvane_assert((int)conditional_index[k].size() >= min_conditioning);
	}
	haplotype_segment & HS = *thread_models[worker];
	HS.windows(conditional_index, left_segment, right_segment, left_site, right_site);
	runModel(ind, worker, HS, true);
}

// One individual against the graph of all allowed haplotypes; the counters are left alone.
void phaser::phaseGraph(int ind, int worker) {
	if (GH.vecG[ind]->phased()) return;
	runModel(ind, worker, *graph_model, false);
}

template < class Model > void phaser::runModel(int ind, int worker, Model & model, bool count) {
	genotype_graph * G = GH.vecG[ind];
	try {
		std::vector < std::vector < std::vector < std::vector < double > > > > & probs = thread_probs[worker];
		if (G->type <= 2) {
			model.expectation(G, hmm, probs[0]);
			double r = putils::getRandom();
			int sampled = G->sample(GH.vecH, GH.ind2hap[ind], probs[0], r < p_random);
			int stored = stage_burnin ? 0 : G->store(probs[0]);
			if (count) {
				n_sampled += sampled;
				n_stored += stored;
			}
		} else {
			std::vector < std::vector < std::vector < std::vector < bool > > > > masks;
			G->mask(masks);
			for (unsigned int k = 0 ; k < masks.size() ; k ++) model.expectation(G, hmm, masks[k], probs[k]);
			double r = putils::getRandom();
			int sampled = G->sample(GH.vecH, GH.ind2hap[ind], probs, r < p_random);
			int stored = stage_burnin ? 0 : G->store(probs);
			if (count) {
				n_sampled += sampled;
				n_stored += stored;
			}
		}
	} catch (myException & e) {
		LOG.error(e.what());
	} catch (std::bad_alloc & e) {
		std::cerr << "Error allocating memory." << std::endl;
		std::cerr << e.what() << std::endl;
	}
}
