#include "readmine/bam_scanner.h"
#include "utils/lfile.h"

#include <cstring>

bam_scanner::bam_scanner(het_sites & _H, int _min_baseq, std::string _reference) : H(_H), min_baseq(_min_baseq), reference(_reference), n_used(0), n_pir(0) {
}

// Opens a file with its header and index, ending the run naming the file when it cannot be
// read, has no index (or is not sorted by coordinate) or lacks the chromosome. Returns the
// chromosome's number in the header.
hts_itr_t * bam_scanner::open(const std::string & file, htsFile * & fp, sam_hdr_t * & header, hts_idx_t * & index) {
	fp = sam_open(file.c_str(), "r");
	if (!fp) LOG.error("Impossible to open file [" + file + "]");
	if (!reference.empty() && hts_set_fai_filename(fp, reference.c_str()) != 0) LOG.error("Impossible to use the reference [" + reference + "] for [" + file + "]");
	header = sam_hdr_read(fp);
	if (!header) LOG.error("Impossible to read the header of [" + file + "]: not a BAM, CRAM or SAM file");
	// An index is only made of a file sorted by coordinate: it tells the order even when the
	// header does not say it.
	index = sam_index_load(fp, file.c_str());
	if (!index) {
		kstring_t order = KS_INITIALIZE;
		bool sorted = sam_hdr_find_tag_hd(header, "SO", &order) == 0 && strcmp(order.s, "coordinate") == 0;
		ks_free(&order);
		if (!sorted) LOG.error("File [" + file + "] is not sorted by coordinate: sort it with samtools sort");
		LOG.error("No index found for [" + file + "]: make one with samtools index " + file);
	}
	int tid = sam_hdr_name2tid(header, H.chr.c_str());
	if (tid < 0) LOG.error("Chromosome [" + H.chr + "] of the VCF is not in the header of [" + file + "]");
	hts_itr_t * itr = sam_itr_queryi(index, tid, H.position.front() - 1, H.position.back());
	if (!itr) LOG.error("Impossible to iterate over [" + file + "]");
	return itr;
}

void bam_scanner::unreadable(htsFile * fp, const std::string & file) {
	if (fp->format.format == cram) LOG.error("Reading [" + file + "] failed: a CRAM file is decoded with the FASTA file of the reference it was made with (--reference), and this one is missing or is not that reference");
	LOG.error("Truncated or corrupt file [" + file + "]");
}

static void closeFile(htsFile * fp, sam_hdr_t * header, hts_idx_t * index, hts_itr_t * itr) {
	hts_itr_destroy(itr);
	hts_idx_destroy(index);
	sam_hdr_destroy(header);
	sam_close(fp);
}

// Reading the first read over the sites finds most faults (a CRAM file without its
// reference above all) before any output is begun.
void bam_scanner::check(std::string file) {
	htsFile * fp;
	sam_hdr_t * header;
	hts_idx_t * index;
	hts_itr_t * itr = open(file, fp, header, index);
	bam1_t * b = bam_init1();
	if (sam_itr_next(fp, itr, b) < -1) unreadable(fp, file);
	bam_destroy1(b);
	closeFile(fp, header, index, itr);
}

void bam_scanner::scan(std::string file, int sample, int min_mapq, std::vector < pir_read > & pirs) {
	n_used = n_pir = 0;
	pending.clear();
	htsFile * fp;
	sam_hdr_t * header;
	hts_idx_t * index;
	hts_itr_t * itr = open(file, fp, header, index);

	bam1_t * b = bam_init1();
	int status;
	while ((status = sam_itr_next(fp, itr, b)) >= 0) {
		const bam1_core_t & c = b->core;
		if (c.flag & (BAM_FUNMAP | BAM_FSECONDARY | BAM_FSUPPLEMENTARY | BAM_FDUP | BAM_FQCFAIL)) continue;
		if (c.qual < min_mapq) continue;
		n_used ++;
		pir_read read;
		observe(b, sample, read);
		std::string name = bam_get_qname(b);
		std::map < std::string, pir_read >::iterator mate = pending.find(name);
		if (mate != pending.end()) {
			mate->second.merge(read);
			finish(mate->second, pirs);
			pending.erase(mate);
		} else if (read.size() > 0) {
			// A mate that maps further on the same chromosome may still come.
			bool later = (c.flag & BAM_FPAIRED) && !(c.flag & BAM_FMUNMAP) && c.mtid == c.tid && c.mpos >= c.pos;
			if (later) pending[name] = read;
			else finish(read, pirs);
		}
	}
	if (status < -1) unreadable(fp, file);
	// Mates that never came: filtered out, or beyond the last site.
	for (std::map < std::string, pir_read >::iterator it = pending.begin() ; it != pending.end() ; ++ it) finish(it->second, pirs);
	pending.clear();
	bam_destroy1(b);
	closeFile(fp, header, index, itr);
}

void bam_scanner::observe(bam1_t * b, int sample, pir_read & read) {
	const uint8_t * seq = bam_get_seq(b);
	const uint8_t * qual = bam_get_qual(b);
	const uint32_t * cigar = bam_get_cigar(b);
	if (b->core.l_qseq == 0 || qual[0] == 0xff) return;
	hts_pos_t ref = b->core.pos;
	int query = 0;
	for (uint32_t k = 0 ; k < b->core.n_cigar ; k ++) {
		int op = bam_cigar_op(cigar[k]), length = bam_cigar_oplen(cigar[k]);
		int type = bam_cigar_type(op);
		if (op == BAM_CMATCH || op == BAM_CEQUAL || op == BAM_CDIFF) {
			// Sites are 1-based: the block covers positions ref + 1 to ref + length.
			for (int s = H.firstFrom(ref + 1) ; s < H.size() && H.position[s] <= ref + length ; s ++) {
				if (!H.het[sample][s]) continue;
				snp * site = H.sites->getByIndex(s);
				if (!site->isSNP()) continue;
				int offset = query + H.position[s] - 1 - ref;
				char base = seq_nt16_str[bam_seqi(seq, offset)];
				// Bases of neither allele are sequencing errors, of no use to phasing.
				if (qual[offset] < min_baseq || (site->a0[0] != base && site->a1[0] != base)) continue;
				read.add(s, base, qual[offset]);
			}
		}
		if (type & 1) query += length;
		if (type & 2) ref += length;
	}
}

void bam_scanner::finish(pir_read & read, std::vector < pir_read > & pirs) {
	if (read.size() < 2) return;
	pirs.push_back(read);
	n_pir ++;
}
