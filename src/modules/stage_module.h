#ifndef _STAGE_MODULE_H
#define _STAGE_MODULE_H

#include "containers/genhap_set/genhap_set.h"

#include <pthread.h>
#include <string>
#include <vector>

// One operation on every graph of a genhap_set, on the calling thread or on n_thread threads
// that claim the next individual of the queue under mutex_workers. Progress lines go out under
// mutex_log; in a threaded run they count the individuals begun, not those finished.
class stage_module {
public:
	genhap_set & GH;
	bool verbose;
	int i_workers;
	int n_thread;
	pthread_mutex_t mutex_workers;
	pthread_mutex_t mutex_log;
	std::vector < pthread_t > id_workers;
	std::vector < int > queue;

	stage_module(genhap_set & GH, int n_thread, bool verbose, const std::string & line, const std::string & progress, const std::string & progress_threaded);
	virtual ~stage_module();
	stage_module(const stage_module &) = delete;
	stage_module & operator=(const stage_module &) = delete;

	// Body of the thread entry functions, arg being the module: claims individuals until the
	// queue is done, then ends the thread.
	static void * thread(void * arg);

protected:
	// The driver: the log line, then all individuals, threaded through `entry`.
	void run(void * (* entry)(void *));
	// The graph of individual ind, checked to exist.
	genotype_graph * graph(int ind);
	virtual void process(int ind) = 0;

private:
	std::string line, progress, progress_threaded;
};

#endif
