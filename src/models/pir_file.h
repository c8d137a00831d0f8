#ifndef _PIR_FILE_H
#define _PIR_FILE_H

#include "models/sequencer.h"
#include "objects/snp_set.h"
#include "utils/ifile.h"
#include "utils/work_queue.h"

#include <functional>
#include <mutex>
#include <string>
#include <unordered_map>
#include <vector>

// A PIR file read record by record by the threads of a pass: every record is read once,
// whatever the number of samples and threads, and each is matched to its sample by name.
class pir_file {
public:
	std::string file;
	// PIR map index -> site index, -1 when the site is not in the data.
	std::vector < int > mapping;

	// `samples`: per unit, the names of its members; a name found in several units belongs
	// to the last.
	pir_file(snp_set * sites, const std::vector < std::vector < std::string > > & samples);

	// Opens the file from its top and reads its map, logging where it reads from.
	void open(const std::string & file, int & n_found, int & n_missed);
	// The next record into S; false at the end of the file. `unit` is the unit of the sample,
	// -1 for a sample not in the data. Safe to call from several threads; a second record of
	// one sample stops the run, as two threads would then weigh one sample at once.
	bool next(sequencer & S, std::string & id, int & unit, int & n_read, int & n_kept);
	// Calls `record` on every worker until the file ends, with the progress line "`what` [n
	// records]" on the screen, n counting the records done.
	void process(work_queue & workers, const std::string & what, const std::function < bool () > & record);
	void close();

private:
	snp_set * sites;
	ifile fd;
	int line;
	std::unordered_map < std::string, int > units;
	std::unordered_map < std::string, int > seen;
	std::mutex mutex;
};

#endif
