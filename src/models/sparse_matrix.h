#ifndef _SPARSE_MATRIX_H
#define _SPARSE_MATRIX_H

#include <vector>

// Links between the fragments of two neighbouring blocks of a haplotype graph, in
// compressed rows: rows are fragments of the left block, columns fragments of the right
// block. Entry e of row r lies at R[r] <= e < R[r + 1], column C[e] ascending within a row;
// V[e] haplotypes take the link, VN[e] = V[e] / total is their share, and VC[e] =
// V[e] / (total * share of the left fragment) the chance of the link given the left fragment.
class sparse_matrix {
public:
	std::vector < int > V;
	std::vector < double > VN;
	std::vector < double > VC;
	std::vector < int > R;
	std::vector < int > C;

	sparse_matrix();

	int rows() const { return (int)R.size() - 1; }
	// Adds step haplotypes to the link (row, col), creating it when missing; the row's chances
	// are first recomputed with the left fragment's new share.
	void set(int row, int col, int step, int total, double share);
	// Drops the link (row, col) once no haplotype takes it.
	void purge(int row, int col);
	int sum() const;
	void matrix(std::vector < std::vector < int > > & M) const;

private:
	// Position of (row, col) in the value arrays, -1 when there is none.
	int find(int row, int col) const;
};

#endif
