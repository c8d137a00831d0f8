#include "readmine/pir_writer.h"
#include "utils/lfile.h"

#include <cstdio>
#include <cstdlib>

namespace {

// The temporary name of an output begun and not yet closed: a run that stops on an
// unreadable input meanwhile leaves nothing behind.
std::string unfinished;

void removeUnfinished() {
	if (!unfinished.empty()) std::remove(unfinished.c_str());
}

}

pir_writer::pir_writer() {
}

void pir_writer::open(std::string file) {
	if (!fd.open(file)) LOG.error("Impossible to create file [" + file + "], check writing permissions");
	static const bool registered = std::atexit(removeUnfinished) == 0;
	if (registered && fd.target != file) unfinished = fd.target;
}

void pir_writer::writeMap(het_sites & H) {
	fd << "MAP " << H.size() << "\n";
	for (int s = 0 ; s < H.size() ; s ++) {
		snp * site = H.sites->getByIndex(s);
		fd << site->bp << " " << site->a0 << " " << site->a1 << "\n";
	}
}

void pir_writer::writeSample(const std::string & name, const std::vector < pir_read > & pirs) {
	fd << name << " " << pirs.size() << "\n";
	for (const pir_read & r : pirs) fd << r.toString() << "\n";
}

void pir_writer::close() {
	unfinished.clear();
	fd.close();
}
