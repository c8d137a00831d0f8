#include "output/vcf_output.h"
#include "utils/futils.h"
#include "utils/lfile.h"
#include "utils/output_set.h"

#include <cstdio>
#include <cstring>
#include <htslib/tbx.h>
#include <unistd.h>
#include <vector>

static bool endsWith(const std::string & s, const std::string & suffix) {
	return s.size() >= suffix.size() && s.compare(s.size() - suffix.size(), suffix.size(), suffix) == 0;
}

vcf_output::vcf_output() : hts(nullptr), hdr(nullptr), record(nullptr), buffer({ 0, 0, nullptr }) {
}

vcf_output::~vcf_output() {
	release();
	if (!target.empty()) OUTPUTS.drop(target);
}

bool vcf_output::isIndexed(const std::string & name) {
	return endsWith(name, ".vcf.gz") || endsWith(name, ".bcf");
}

// "-" is standard output as text, "-.vcf.gz" and "-.bcf" as BGZF or BCF, without index.
bool vcf_output::toStdout(const std::string & name) {
	return name == "-" || name == "-.vcf.gz" || name == "-.bcf";
}

bool vcf_output::open(const std::string & name, int threads) {
	file = name;
	if (!isIndexed(name)) {
		text.reset(new ofile());
		return text->open(name);
	}
	const char * mode = endsWith(name, ".bcf") ? "wb" : "wz";
	if (toStdout(name)) {
		hts = hts_open("-", mode);
		if (!hts) return false;
		record = bcf_init();
		return threads < 2 || hts_set_threads(hts, threads) == 0;
	}
	if (access(name.c_str(), F_OK) == 0 && access(name.c_str(), W_OK) != 0) return false;
	target = futils::temporaryName(name);
	hts = hts_open(target.c_str(), mode);
	if (!hts) {
		target.clear();
		return false;
	}
	OUTPUTS.add(target, name);
	record = bcf_init();
	return threads < 2 || hts_set_threads(hts, threads) == 0;
}

void vcf_output::fail(const std::string & what) {
	release();
	if (!target.empty()) OUTPUTS.drop(target);
	target.clear();
	LOG.error("Writing to file [" + file + "] failed: " + what);
}

void vcf_output::header(const std::string & lines) {
	if (text) {
		*text << lines;
		return;
	}
	hdr = bcf_hdr_init("r");
	std::vector < char > copy (lines.begin(), lines.end());
	copy.push_back('\0');
	if (!hdr || bcf_hdr_parse(hdr, copy.data()) < 0) fail("the VCF header is not valid");
	if (bcf_hdr_write(hts, hdr) < 0) fail("the header could not be written");
}

void vcf_output::line(const std::string & data) {
	if (text) {
		*text << data << "\n";
		return;
	}
	buffer.l = 0;
	kputsn(data.data(), data.size(), &buffer);
	if (vcf_parse(&buffer, hdr, record) < 0) fail("a line is not valid VCF");
	if (bcf_write(hts, hdr, record) < 0) fail("a record could not be written");
}

void vcf_output::release() {
	if (record) bcf_destroy(record);
	if (hdr) bcf_hdr_destroy(hdr);
	free(buffer.s);
	record = nullptr;
	hdr = nullptr;
	buffer = { 0, 0, nullptr };
	if (hts) {
		hts_close(hts);
		hts = nullptr;
	}
}

// The index is built on the complete temporary file, under a temporary name of its own,
// and both join the outputs of the run, the index after the file.
void vcf_output::close() {
	if (text) {
		text->close();
		text.reset();
		return;
	}
	if (record) bcf_destroy(record);
	if (hdr) bcf_hdr_destroy(hdr);
	record = nullptr;
	hdr = nullptr;
	int status = hts_close(hts);
	hts = nullptr;
	if (status != 0) fail(strerror(errno));
	if (target.empty()) return;
	const std::string index = file + (endsWith(file, ".bcf") ? ".csi" : ".tbi");
	const std::string index_target = futils::temporaryName(index);
	OUTPUTS.add(index_target, index);
	int indexed = endsWith(file, ".bcf") ? bcf_index_build2(target.c_str(), index_target.c_str(), 14) : tbx_index_build2(target.c_str(), index_target.c_str(), 0, &tbx_conf_vcf);
	if (indexed != 0) fail("the index could not be built");
	if (!OUTPUTS.done(target) || !OUTPUTS.done(index_target)) fail(strerror(errno));
	target.clear();
}
