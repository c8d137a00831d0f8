#include "input/vcf_lines.h"
#include "utils/lfile.h"

#include <sstream>

vcf_lines::vcf_lines() : hts(nullptr), header(nullptr), record(nullptr), buffer({ 0, 0, nullptr }), header_next(0) {
}

vcf_lines::~vcf_lines() {
	close();
}

bool vcf_lines::isBcf(const std::string & name) {
	return name.size() >= 4 && name.compare(name.size() - 4, 4, ".bcf") == 0;
}

bool vcf_lines::open(const std::string & _name) {
	name = _name;
	if (!isBcf(name)) return text.open(name);
	hts = hts_open(name.c_str(), "r");
	if (!hts) return false;
	header = bcf_hdr_read(hts);
	if (!header) return false;
	record = bcf_init();
	kstring_t h = { 0, 0, nullptr };
	if (bcf_hdr_format(header, 0, &h) < 0) LOG.error("File [" + name + "] has a header that cannot be read");
	std::istringstream lines(std::string(h.s, h.l));
	free(h.s);
	for (std::string l ; std::getline(lines, l) ; ) header_lines.push_back(l);
	header_next = 0;
	return true;
}

bool vcf_lines::next(std::string & line) {
	if (!hts) return static_cast < bool > (getline(text, line));
	if (header_next < header_lines.size()) {
		line = header_lines[header_next ++];
		return true;
	}
	int status = bcf_read(hts, header, record);
	if (status == -1) return false;
	if (status < -1) LOG.error("File [" + name + "] is corrupted or truncated: BCF record unreadable");
	buffer.l = 0;
	if (vcf_format(header, record, &buffer) < 0) LOG.error("File [" + name + "] has a BCF record that cannot be formatted");
	line.assign(buffer.s, buffer.l);
	if (!line.empty() && line.back() == '\n') line.pop_back();
	return true;
}

void vcf_lines::close() {
	if (record) bcf_destroy(record);
	if (header) bcf_hdr_destroy(header);
	if (hts) hts_close(hts);
	free(buffer.s);
	record = nullptr;
	header = nullptr;
	hts = nullptr;
	buffer = { 0, 0, nullptr };
	header_lines.clear();
	text.close();
}
