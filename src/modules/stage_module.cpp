#include "modules/stage_module.h"
#include "utils/assertion.h"
#include "utils/lfile.h"
#include "utils/sutils.h"

stage_module::stage_module(genhap_set & _GH, int _n_thread, bool _verbose, const std::string & _line, const std::string & _progress, const std::string & _progress_threaded) :
	GH(_GH), verbose(_verbose), i_workers(0), n_thread(_n_thread), line(_line), progress(_progress), progress_threaded(_progress_threaded) {
	pthread_mutex_init(&mutex_workers, NULL);
	pthread_mutex_init(&mutex_log, NULL);
	if (n_thread > 1) id_workers.resize(n_thread);
}

stage_module::~stage_module() {
	pthread_mutex_destroy(&mutex_workers);
	pthread_mutex_destroy(&mutex_log);
}

genotype_graph * stage_module::graph(int ind) {
	sorvane_assert(ind < (int)GH.vecG.size());
	sorvane_assert(ind >= 0);
	return GH.vecG[ind];
}

void stage_module::run(void * (* entry)(void *)) {
	const int N = GH.vecG.size();
	if (verbose) {
		LOG.println("");
		LOG.printlnL(line);
	}
	i_workers = 0;
	queue.resize(N);
	for (int i = 0 ; i < N ; i ++) queue[i] = i;
	if (n_thread < 2) {
		for (int pos = 0 ; pos < N ; pos ++) {
			process(queue[pos]);
			if (verbose) LOG.printC(progress + sutils::int2str(pos + 1) + "/" + sutils::int2str(N) + "]");
		}
	} else {
		for (int t = 0 ; t < n_thread ; t ++) pthread_create(&id_workers[t], NULL, entry, this);
		for (int t = 0 ; t < n_thread ; t ++) pthread_join(id_workers[t], NULL);
	}
	if (verbose) LOG.println("");
}

void * stage_module::thread(void * arg) {
	stage_module * S = static_cast < stage_module * > (arg);
	const int N = S->queue.size();
	for (;;) {
		pthread_mutex_lock(&S->mutex_workers);
		int pos = S->i_workers ++;
		pthread_mutex_unlock(&S->mutex_workers);
		if (pos >= N) break;
		pthread_mutex_lock(&S->mutex_log);
		if (S->verbose) LOG.printC(S->progress_threaded + sutils::int2str(pos + 1) + "/" + sutils::int2str(N) + "]");
		pthread_mutex_unlock(&S->mutex_log);
		S->process(S->queue[pos]);
	}
	pthread_exit(NULL);
}
