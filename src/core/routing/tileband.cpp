#include "core/routing/tileband.h"

#include <QtGlobal>

namespace {

// One axis: [first, last] of count lines.
void axisBand(int count, int tile, int bandTiles, int visible, int *first, int *last)
{
    const int threshold = bandTiles * TileBand::kTileLines;
    if (count < threshold) {
        *first = 0;
        *last = count - 1;
        return;
    }
    // Whole tiles that cover what the view shows, plus the part of a tile
    // the top line may sit in.
    const int visibleTiles = (visible + 2 * TileBand::kTileLines - 1) / TileBand::kTileLines;
    const int tiles = qMax(bandTiles, visibleTiles);
    const int maxTile = (count - 1) / TileBand::kTileLines;
    const int origin = qBound(0, tile, maxTile);
    *first = origin * TileBand::kTileLines;
    *last = qMin(count, (origin + tiles) * TileBand::kTileLines) - 1;
}

} // namespace

TileBand TileBand::compute(int rows, int columns, int rowTile, int colTile, int visibleRows, int visibleColumns)
{
    TileBand b;
    axisBand(qMax(0, rows), rowTile, kBandRowTiles, visibleRows, &b.firstRow, &b.lastRow);
    axisBand(qMax(0, columns), colTile, kBandColumnTiles, visibleColumns, &b.firstColumn, &b.lastColumn);
    return b;
}
