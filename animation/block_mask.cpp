#include <animation/block_mask.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>

namespace
{

constexpr int kBlocks = 20; /* a row and a column */
constexpr int kBlockSize = kMaskSize / kBlocks;

/* Draws go to this many columns: the last column is reached by a scan alone. */
constexpr unsigned int kDrawnColumns = 19;

/* Hits on taken cells after which a draw is replaced by a scan. */
constexpr int kMaxHits = 2;

using Row = uint8_t[kBlocks]; /* 0 free, 1 taken */

Row blockindex[2][kBlocks];

/* The first free cell from one end of a row that has one. */
int scan(const Row &row, bool downwards)
{
	int bcolumn = downwards ? kBlocks - 1 : 0;
	while (row[bcolumn])
		bcolumn += downwards ? -1 : 1;
	return bcolumn;
}

/* Takes count free cells of a row that has as many. */
void take_cells(Row &row, int count, bool scan_downwards)
{
	int hits = 0;
	while (count > 0) {
		int index = static_cast<int>(getrand(kDrawnColumns));
		if (row[index]) {
			if (hits < kMaxHits) {
				hits++;
				continue;
			}
			index = scan(row, scan_downwards);
			hits = 0;
		}
		row[index] = 1;
		count--;
	}
}

/* Writes the lines of one row of blocks. */
void write_row(const Row &row, MaskHalf half, MaskPixel (*lines)[kMaskSize])
{
	for (int i = 0; i < kBlocks; i++) {
		bool through = half == MaskHalf::kEntry ? row[i] : !row[i];
		std::fill_n(&lines[0][i * kBlockSize], kBlockSize, through ? 0xFFFFFFFF : 0);
	}
	for (int line = 1; line < kBlockSize; line++)
		memcpy(lines[line], lines[0], sizeof(lines[0]));
}

} // namespace

unsigned int getrand(unsigned int range)
{
	static unsigned int seed = 1; /* unsigned: it wraps after a few weeks of drawing */
	srand(++seed);
	return static_cast<unsigned int>(rand()) % range;
}

void build_block_mask(MaskHalf half, uint32_t n, uint32_t N, Mask *mask)
{
	auto &table = blockindex[half == MaskHalf::kEntry ? 0 : 1];
	if (n == 1)
		memset(table, 0, sizeof(table));

	int fillblockcount = static_cast<int>(n * kBlocks / N);
	for (int bline = 0; bline < kBlocks; bline++) {
		Row &row = table[bline];
		/* A row may hold more than this step wants when another object or an update has been at
		 * the pattern: then it is left as it is. */
		int curcount = static_cast<int>(std::count(row, row + kBlocks, 1));
		take_cells(row, fillblockcount - curcount, half == MaskHalf::kExit && bline % 2 == 0);
		write_row(row, half, mask->pixels + bline * kBlockSize);
	}
}
