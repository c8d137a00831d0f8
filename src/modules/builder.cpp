#include "modules/builder.h"
#include "utils/assertion.h"
#include "utils/lfile.h"
#include "utils/sutils.h"

builder::builder(genotype_reader & _G, std::vector < std::map < std::string, int > > & _units, work_queue & _workers) :
	G(_G), units(_units), workers(_workers), n_mendel(0), n_family(0) {
}

void builder::build() {
	const int total = units.size();
	LOG.println("");
	LOG.printL("Building graphs ... ");
	std::vector < int > errors (total, 0);
	vecG.assign(total, NULL);
	const work_queue::progress_report progress = work_queue::counter("\rBuilding graphs [", total);
	workers.run(total, [&](int u, int) { vecG[u] = build(units[u], errors[u]); }, progress);
	progress(total);
	LOG.println("");
	for (int u = 0 ; u < total ; u ++) {
		n_mendel += errors[u];
		n_family += vecG[u]->type > 2;
	}
	// The genotypes of a duo or trio that break Mendel's laws at a site are all opened there,
	// and the haplotypes drawn fill them in.
	if (n_family) LOG.println("  * " + sutils::long2str(n_mendel) + " genotypes in Mendel errors set missing");
}

genotype_graph * builder::build(std::map < std::string, int > & unit, int & errors) {
	int type = unit["type"], child = unit["idx_child"], father = unit["idx_father"], mother = unit["idx_mother"];
	errors = 0;
	genotype_graph * graph = new genotype_graph(type, G.ind_family[child]);
	graph->pushChild(G.ind_id[child], unit["ord_child"], G.ind_fields[child]);
	switch (type) {
	case 1:
		graph->buildHap(G.hap0[child], G.missing[child]);
		break;
	case 2:
		if (G.scaffold[child].empty()) graph->buildUnr(G.hap0[child], G.hap1[child], G.missing[child]);
		else graph->buildUnr(G.hap0[child], G.hap1[child], G.missing[child], G.scaffold[child]);
		break;
	case 3:
		sorvane_assert(father >= 0 || mother >= 0);
		if (father < 0) {
			errors = graph->buildDuo(G.hap0[mother], G.hap1[mother], G.missing[mother], G.hap0[child], G.hap1[child], G.missing[child]);
			graph->pushMother(G.ind_id[mother], unit["main_mother"] == 1, unit["ord_mother"], G.ind_fields[mother]);
		} else {
			errors = graph->buildDuo(G.hap0[father], G.hap1[father], G.missing[father], G.hap0[child], G.hap1[child], G.missing[child]);
			graph->pushFather(G.ind_id[father], unit["main_father"] == 1, unit["ord_father"], G.ind_fields[father]);
		}
		break;
	case 4:
		errors = graph->buildTrio(G.hap0[father], G.hap1[father], G.missing[father], G.hap0[mother], G.hap1[mother], G.missing[mother], G.hap0[child], G.hap1[child], G.missing[child]);
		graph->pushFather(G.ind_id[father], unit["main_father"] == 1, unit["ord_father"], G.ind_fields[father]);
		graph->pushMother(G.ind_id[mother], unit["main_mother"] == 1, unit["ord_mother"], G.ind_fields[mother]);
		break;
	default:
		delete graph;
		LOG.error("Builder: Unknown type of Genotype");
	}
	return graph;
}
