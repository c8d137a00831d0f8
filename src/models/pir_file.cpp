#include "models/pir_file.h"
#include "utils/lfile.h"
#include "utils/sutils.h"


pir_file::pir_file(snp_set * _sites, const std::vector < std::vector < std::string > > & samples) : sites(_sites), line(0) {
	for (unsigned int u = 0 ; u < samples.size() ; u ++) for (const std::string & name : samples[u]) units[name] = u;
}

void pir_file::open(const std::string & _file, int & n_found, int & n_missed) {
	file = _file;
	fd.close();
	if (!fd.open(file)) LOG.error(file + " is impossible to open, check file existence or reading permissions");
	LOG.println("\nReading map in [" + file + "]");
	sequencer::readMap(fd, line, sites, mapping, n_found, n_missed);
	seen.clear();
}

bool pir_file::next(sequencer & S, std::string & id, int & unit, int & n_read, int & n_kept) {
	std::lock_guard < std::mutex > lock (mutex);
	S.readPIRs(fd, line, id, n_read, n_kept);
	if (id.empty()) return false;
	std::unordered_map < std::string, int >::iterator it = units.find(id);
	unit = it == units.end() ? -1 : it->second;
	const int first = S.record_line;
	std::pair < std::unordered_map < std::string, int >::iterator, bool > put = seen.insert(std::make_pair(id, first));
	if (!put.second) LOG.error("PIRs file [" + file + "] has a second record of sample " + id + " at line " + sutils::int2str(first) + ", the first being at line " + sutils::int2str(put.first->second));
	return true;
}

void pir_file::process(work_queue & workers, const std::string & what, const std::function < bool () > & record) {
	workers.drain([&](int) { return record(); }, [&](int n) { LOG.printC("\r" + what + " [" + sutils::int2str(n) + " records]"); });
	LOG.println("");
}

void pir_file::close() {
	fd.close();
}
