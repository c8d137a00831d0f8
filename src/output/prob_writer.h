#ifndef _PROB_WRITER_H
#define _PROB_WRITER_H

#include "containers/genhap_set/genhap_set.h"
#include "output/filter_writer.h"

#include <string>
#include <vector>

// Writes one value per site and graph as a text table without header: the columns are the
// graphs whose own sample passes the filters, in vecG order.
class prob_writer {
public:
	filter_writer & filter;
	genhap_set & set;
	// Per vecG position, one value per site.
	std::vector < std::vector < float > > & probs;

	prob_writer(filter_writer & filter, genhap_set & set, std::vector < std::vector < float > > & probs);

	void writeProbabilities(std::string file);
};

#endif
