/* Prints a panel's range, the luminance of one level, and the level that a curve gives for this luminance.
 * Usage: nits FILE|PANEL LEVEL COVERAGE */
#include <backlight_nits.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

static void check(bln_status status) {
  if (status != BLN_OK) {
    fprintf(stderr, "%s: %s\n", bln_status_name(status), bln_last_error());
    exit(1);
  }
}

int main(int count, char** arguments) {
  bln_panel* panel;
  bln_curve* curve;
  bln_range range;
  uint32_t level, coverage, back;
  double nits;

  if (count != 4) {
    fprintf(stderr, "usage: %s FILE|PANEL LEVEL COVERAGE\n", arguments[0]);
    return 2;
  }
  level = (uint32_t)strtoul(arguments[2], NULL, 10);
  coverage = (uint32_t)strtoul(arguments[3], NULL, 10);

  /* A panel has no slash in its name. No context: no further search folders and no log. */
  check((strchr(arguments[1], '/') ? bln_panel_open_file : bln_panel_open)(NULL, arguments[1], &panel));
  check(bln_panel_range(panel, &range));
  printf("client levels 0 to %u, panel levels %u to %u\n", (unsigned)range.highest_client_level,
         (unsigned)range.lowest_panel_level, (unsigned)range.highest_panel_level);

  check(bln_panel_nits(panel, level, coverage, BLN_STANDARD, &nits));
  check(bln_curve_create(panel, coverage, BLN_STANDARD, &curve));
  check(bln_curve_levels(curve, &nits, 1, &back));
  printf("level %u at %u %%: %.3f nits; by curve: level %u\n", (unsigned)level, (unsigned)coverage, nits,
         (unsigned)back);

  bln_curve_free(curve);
  bln_panel_free(panel);
  return 0;
}
