#include "input/vcf_lines.h"
#include "utils/futils.h"
#include "utils/lfile.h"

#include <fstream>
#include <sstream>

vcf_lines::vcf_lines() : hts(nullptr), header(nullptr), record(nullptr), buffer({ 0, 0, nullptr }), tbx(nullptr), index(nullptr), itr(nullptr), exhausted(false), header_next(0) {
}

vcf_lines::~vcf_lines() {
	close();
}

void vcf_lines::broken() {
	LOG.error("File [" + name + "] is corrupted or truncated");
}

bool vcf_lines::open(const std::string & _name) {
	name = _name;
	if (futils::isDirectory(name)) return false;
	std::ifstream probe(name.c_str(), std::ios::binary);
	if (!probe) return false;
	char magic[14];
	probe.read(magic, 14);
	std::string head(magic, probe.gcount());
	// BGZF is gzip with the extra field "BC" in each block header.
	bool blocked = head.size() == 14 && (head[3] & 4) && head[12] == 'B' && head[13] == 'C';
	// htslib reads no bzip2, and takes a plain gzip file cut short of its trailer for whole.
	if (ifile::compressionOf(head) != ifile::PLAIN && !blocked) {
		if (!text.open(name)) return false;
	} else {
		hts = hts_open(name.c_str(), "r");
		if (!hts) return false;
		const htsFormat * format = hts_get_format(hts);
		if (format->format != vcf && format->format != bcf) LOG.error(name + " is not a VCF file (no ##fileformat header)");
		// Cut at a block boundary, a BGZF file would read as complete: its last block marks the end.
		if (format->compression == bgzf && hts_check_EOF(hts) == 0) broken();
		if (format->format == bcf) {
			header = bcf_hdr_read(hts);
			if (!header) LOG.error("File [" + name + "] has a BCF header that cannot be read");
			record = bcf_init();
			kstring_t h = { 0, 0, nullptr };
			if (bcf_hdr_format(header, 0, &h) < 0) LOG.error("File [" + name + "] has a header that cannot be read");
			std::istringstream lines(std::string(h.s, h.l));
			free(h.s);
			for (std::string l ; std::getline(lines, l) ; ) header_lines.push_back(l);
			return true;
		}
	}
	// The header of a text file, up to its #CHROM line or its first data line.
	std::string line;
	while (readLine(line)) {
		if (header_lines.empty() && line.compare(0, 16, "##fileformat=VCF") != 0) LOG.error(name + " is not a VCF file (no ##fileformat header)");
		header_lines.push_back(line);
		if (line.empty() || line[0] != '#' || line.compare(0, 6, "#CHROM") == 0) break;
	}
	if (header_lines.empty()) LOG.error(name + " is not a VCF file (no ##fileformat header)");
	return true;
}

bool vcf_lines::region(const std::string & chr, int from, int to) {
	if (!hts) return false;
	int tid;
	if (header) {
		index = bcf_index_load3(name.c_str(), nullptr, HTS_IDX_SILENT_FAIL);
		if (!index) return false;
		tid = bcf_hdr_name2id(header, chr.c_str());
	} else {
		if (hts_get_format(hts)->compression != bgzf) return false;
		tbx = tbx_index_load3(name.c_str(), nullptr, HTS_IDX_SILENT_FAIL);
		if (!tbx) return false;
		tid = tbx_name2id(tbx, chr.c_str());
	}
	// The first data line, read with the header, may lie outside the region.
	if (!header_lines.empty() && (header_lines.back().empty() || header_lines.back()[0] != '#')) header_lines.pop_back();
	if (tid < 0) {
		exhausted = true;
		return true;
	}
	hts_pos_t beg = std::max(0, from - 1);
	itr = header ? bcf_itr_queryi(index, tid, beg, to) : tbx_itr_queryi(tbx, tid, beg, to);
	if (!itr) LOG.error("The index of [" + name + "] cannot be used");
	return true;
}

bool vcf_lines::next(std::string & line) {
	if (header_next < header_lines.size()) {
		line = header_lines[header_next ++];
		return true;
	}
	return !exhausted && readLine(line);
}

// A line without the carriage return of a file written with CR LF ends.
bool vcf_lines::readLine(std::string & line) {
	if (!readRaw(line)) return false;
	if (!line.empty() && line.back() == '\r') line.pop_back();
	return true;
}

bool vcf_lines::readRaw(std::string & line) {
	if (!hts) return static_cast < bool > (getline(text, line));
	int status;
	if (header) {
		status = itr ? bcf_itr_next(hts, itr, record) : bcf_read(hts, header, record);
		if (status == -1) return false;
		if (status < -1) broken();
		buffer.l = 0;
		if (vcf_format(header, record, &buffer) < 0) LOG.error("File [" + name + "] has a BCF record that cannot be formatted");
		if (buffer.l && buffer.s[buffer.l - 1] == '\n') buffer.l --;
	} else {
		status = itr ? tbx_itr_next(hts, tbx, itr, &buffer) : hts_getline(hts, '\n', &buffer);
		if (status == -1) return false;
		if (status < -1) broken();
	}
	line.assign(buffer.s, buffer.l);
	return true;
}

void vcf_lines::close() {
	if (itr) hts_itr_destroy(itr);
	if (tbx) tbx_destroy(tbx);
	if (index) hts_idx_destroy(index);
	if (record) bcf_destroy(record);
	if (header) bcf_hdr_destroy(header);
	if (hts) hts_close(hts);
	free(buffer.s);
	itr = nullptr;
	tbx = nullptr;
	index = nullptr;
	record = nullptr;
	header = nullptr;
	hts = nullptr;
	buffer = { 0, 0, nullptr };
	header_lines.clear();
	header_next = 0;
	exhausted = false;
	text.close();
}
