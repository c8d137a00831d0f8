#ifndef _STAGE_MODULE_H
#define _STAGE_MODULE_H

#include "containers/genhap_set/genhap_set.h"
#include "utils/work_queue.h"

#include <string>

// One operation on every graph of a genhap_set, the individuals claimed one by one by the
// workers of the run. The progress line counts the individuals finished.
class stage_module {
public:
	genhap_set & GH;
	work_queue & workers;
	bool verbose;

	stage_module(genhap_set & GH, work_queue & workers, bool verbose, const std::string & line, const std::string & progress, const std::string & progress_threaded);
	virtual ~stage_module();
	stage_module(const stage_module &) = delete;
	stage_module & operator=(const stage_module &) = delete;

protected:
	// The driver: the log line, then all individuals.
	void run();
	// The graph of individual ind, checked to exist.
	genotype_graph * graph(int ind);
	virtual void process(int ind) = 0;

private:
	std::string line, progress;
};

#endif
