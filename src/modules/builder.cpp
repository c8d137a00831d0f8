#include "modules/builder.h"
#include "utils/assertion.h"
#include "utils/lfile.h"
#include "utils/sutils.h"

builder::builder(genotype_reader & _G, std::vector < std::map < std::string, int > > & _units, int nThreads) :
	G(_G), units(_units), i_workers(0), n_thread(nThreads), n_mendel(0), n_family(0) {
	if (n_thread > 1) {
		pthread_mutex_init(&mutex_workers, NULL);
		pthread_mutex_init(&mutex_log, NULL);
		id_workers.resize(n_thread);
	}
}

builder::~builder() {
	if (n_thread > 1) {
		pthread_mutex_destroy(&mutex_workers);
		pthread_mutex_destroy(&mutex_log);
	}
}

static std::string progress(int done, int total) {
	return "\rBuilding graphs [" + sutils::int2str(done) + "/" + sutils::int2str(total) + "]";
}

void * builder_callback(void * arg) {
	builder * B = static_cast < builder * > (arg);
	int total = B->units.size();
	for (;;) {
		pthread_mutex_lock(&B->mutex_workers);
		int pos = B->i_workers ++;
		pthread_mutex_unlock(&B->mutex_workers);
		if (pos >= total) break;
		pthread_mutex_lock(&B->mutex_log);
		LOG.printC(progress(pos + 1, total));
		pthread_mutex_unlock(&B->mutex_log);
		B->build(B->units[pos]);
	}
	pthread_exit(NULL);
}

void builder::build() {
	int total = units.size();
	LOG.println("");
	LOG.printL("Building graphs ... ");
	i_workers = 0;
	if (n_thread < 2) {
		for (int i = 0 ; i < total ; i ++) {
			build(units[i]);
			LOG.printC(progress(i + 1, total));
		}
	} else {
		for (int t = 0 ; t < n_thread ; t ++) pthread_create(&id_workers[t], NULL, builder_callback, this);
		for (int t = 0 ; t < n_thread ; t ++) pthread_join(id_workers[t], NULL);
	}
	LOG.printC(progress(total, total));
	LOG.println("");
	// The genotypes of a duo or trio that break Mendel's laws at a site are all opened there,
	// and the haplotypes drawn fill them in.
	if (n_family) LOG.println("  * " + sutils::long2str(n_mendel) + " genotypes in Mendel errors set missing");
}

void builder::build(std::map < std::string, int > & unit) {
	int type = unit["type"], child = unit["idx_child"], father = unit["idx_father"], mother = unit["idx_mother"], errors = 0;
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
	if (n_thread > 1) pthread_mutex_lock(&mutex_log);
	vecG.push_back(graph);
	n_mendel += errors;
	n_family += type > 2;
	if (n_thread > 1) pthread_mutex_unlock(&mutex_log);
}
