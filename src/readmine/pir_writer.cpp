#include "readmine/pir_writer.h"
#include "utils/lfile.h"

pir_writer::pir_writer() {
}

void pir_writer::open(std::string file) {
	if (!fd.open(file)) LOG.error("Impossible to create file [" + file + "], check writing permissions");
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
	fd.close();
}
