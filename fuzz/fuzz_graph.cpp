#include "containers/genhap_set/genhap_set.h"
#include "fuzz_files.h"
#include "input/graph_reader.h"
#include "modules/sampler.h"
#include "modules/solver.h"

#include <cmath>
#include <cstdlib>
#include <cstring>

// The oracle: what the rest of the program takes for granted of every graph that a read lets
// through, written apart from the reader's own checks. A graph that breaks it aborts, and
// so does any fault in the maximisation and the sampling run on the graphs read.
static void expect(bool ok) {
	if (!ok) abort();
}

static void checkGraph(const genotype_graph & g, int n_sites) {
	expect(g.type >= 1 && g.type <= 4);
	const int n = g.type, S = g.HapsC.size();
	expect(S >= 1 && (int)g.HapsI.size() == S && (int)g.HapsS.size() == S);
	expect((int)g.probsI.size() == S + 1 && (int)g.probsC.size() == S + 1);
	long sites = 0, bits = 0, transitions = 0;
	for (int s = 0 ; s < S ; s ++) {
		expect(g.HapsC[s] >= 1 && g.HapsC[s] <= 8 && g.HapsS[s] >= 1 && g.HapsI[s] == (unsigned long)bits);
		bits += (long)g.HapsC[s] * g.HapsS[s];
		sites += g.HapsS[s];
	}
	expect(sites == n_sites && bits == g.Haps.size() && (long)g.Ambs.size() == n_sites);
	for (int k = 0 ; k <= S ; k ++) {
		expect(g.probsC[k] >= 1 && g.probsI[k] == (unsigned long)transitions);
		transitions += g.probsC[k];
	}
	expect(transitions == (long)g.probs.size() && (long)g.trans.size() == transitions * n);
	for (float p : g.probs) expect(std::isfinite(p) && p >= 0);
	for (int k = 0 ; k <= S ; k ++) for (unsigned int t = g.probsI[k] ; t < g.probsI[k] + g.probsC[k] ; t ++)
		for (int j = 0 ; j < n ; j ++) {
			const unsigned char b = g.trans[t * n + j];
			expect((b & 15) < (k ? g.HapsC[k - 1] : 1) && (b >> 4) < (k < S ? g.HapsC[k] : 1));
		}
	// No dead ends: each transition goes on into the next group, and comes from the one before.
	for (int k = 0 ; k < S ; k ++) {
		for (unsigned int a = g.probsI[k] ; a < g.probsI[k] + g.probsC[k] ; a ++) {
			bool on = false;
			for (unsigned int b = g.probsI[k + 1] ; b < g.probsI[k + 1] + g.probsC[k + 1] && !on ; b ++) on = g.linked(a * n, b * n);
			expect(on);
		}
		for (unsigned int b = g.probsI[k + 1] ; b < g.probsI[k + 1] + g.probsC[k + 1] ; b ++) {
			bool from = false;
			for (unsigned int a = g.probsI[k] ; a < g.probsI[k] + g.probsC[k] && !from ; a ++) from = g.linked(a * n, b * n);
			expect(from);
		}
	}
}

// A binary graph file of version 2.1 or 2.2 alone; with two more parts, the graph file of
// version 2.0 with its sample and site lists.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t * data, size_t size) {
	bool three = memmem(data, size, "\n--8<--\n", 8) != nullptr;
	std::vector < std::string > f = writeFuzzFiles(data, size, { "in.graph", "in.samples", "in.sites" });
	runReader([&] {
		graph_reader R;
		if (three) R.readBinaryGraph20(f[0], f[1], f[2]);
		else R.readBinaryGraph(f[0]);
		for (genotype_graph * g : R.vecG) checkGraph(*g, R.S->size());
		genhap_set GH;
		GH.initialise(R.vecG, R.S.get());
		solver(GH, 1).solve();
		sampler(GH, false, 1, false).sample();
	});
	return 0;
}
