#ifndef _BUILDER_H
#define _BUILDER_H

#include "input/genotype_reader.h"
#include "objects/genotype_graph.h"

#include <map>
#include <pthread.h>
#include <string>
#include <vector>

// Makes one genotype graph per unit record of the build order, on one thread or on a work
// queue of n_thread threads. In a threaded run vecG is in completion order: famID and index
// identify the units. The graphs are handed on to their owner, never deleted here.
class builder {
public:
	std::vector < genotype_graph * > vecG;
	genotype_reader & G;
	std::vector < std::map < std::string, int > > & units;
	int i_workers;
	int n_thread;
	// Only created for 2 threads or more: one guards i_workers, the other the progress line and vecG.
	pthread_mutex_t mutex_workers;
	pthread_mutex_t mutex_log;
	std::vector < pthread_t > id_workers;
	// Genotypes of duos and trios set missing for breaking Mendel's laws; family units built.
	long n_mendel;
	int n_family;

	builder(genotype_reader & G, std::vector < std::map < std::string, int > > & units, int nThreads);
	~builder();

	void build();
	void build(std::map < std::string, int > & unit);
};

void * builder_callback(void * arg);

#endif
