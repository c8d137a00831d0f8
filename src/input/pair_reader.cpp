#include "input/pair_reader.h"
#include "utils/assertion.h"
#include "utils/ifile.h"
#include "utils/lfile.h"
#include "utils/sutils.h"

#include <algorithm>
#include <iterator>
#include <set>

pair_reader::pair_reader() {
}

// Positions are resolved by position alone: the alleles of the site are not looked at.
// Blank lines are passed over.
void pair_reader::readPairs(std::string file, snp_set * S) {
	LOG.println("\nReading sets of sites in [" + file + "]");
	ifile fd;
	if (!fd.open(file)) LOG.error("Impossible to open file [" + file + "]");
	std::string line;
	std::vector < std::string > tokens;
	int n = 0;
	for (int n_line = 1 ; getline(fd, line) ; n_line ++) {
		int nfields = sutils::tokenize(line, tokens);
		if (nfields == 0) continue;
		const std::string where = " at line " + sutils::int2str(n_line) + " of [" + file + "]";
		if (nfields < 3) LOG.error("Line=" + sutils::int2str(n_line) + " found=" + sutils::int2str(nfields) + " expected at least 3" + where + ": a window needs its name and two positions or more");
		id.push_back(tokens[0]);
		sites.push_back(std::vector < int > ());
		for (int t = 1 ; t < nfields ; t ++) {
			int p = sutils::str2bp(tokens[t], file, n_line);
			auto range = S->mapS.equal_range(p);
			if (range.first == range.second) LOG.error("No site at position = " + sutils::int2str(p) + where);
			if (std::next(range.first) != range.second) LOG.error("More than 1 site at position = " + sutils::int2str(p) + where);
			sorvane_assert(range.first->second->idx >= 0);
			sites.back().push_back(range.first->second->idx);
		}
		n ++;
	}
	fd.close();
	LOG.println("  * " + sutils::int2str(n) + " windows read");
}

void pair_reader::checkAndOrder() {
	std::set < std::string > seen;
	for (const std::string & w : id) if (!seen.insert(w).second) LOG.error("Duplicate window ID = " + w);
	for (std::vector < int > & window : sites) std::sort(window.begin(), window.end());
}
