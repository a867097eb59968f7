// Each heading of a table of class "sorts" becomes a button that sorts by its column. Everything reads without this.
"use strict";

// Numbers before texts; cells without a number last.
function compare(a, b) {
  const [x, y] = [parseFloat(a), parseFloat(b)];
  if (isNaN(x) || isNaN(y)) {
    return isNaN(x) - isNaN(y) || a.localeCompare(b);
  }
  return x - y;
}

function sortBy(heading) {
  const falls = heading.getAttribute("aria-sort") === "ascending";
  for (const other of heading.parentNode.cells) {
    other.removeAttribute("aria-sort");
  }
  heading.setAttribute("aria-sort", falls ? "descending" : "ascending");
  const body = heading.closest("table").tBodies[0];
  const cell = row => row.cells[heading.cellIndex].textContent.trim();
  const rows = [...body.rows].sort((a, b) => compare(cell(a), cell(b)));
  body.append(...(falls ? rows.reverse() : rows));
}

for (const heading of document.querySelectorAll("table.sorts thead th")) {
  const button = document.createElement("button");
  button.type = "button";
  button.append(...heading.childNodes);
  button.addEventListener("click", () => sortBy(heading));
  heading.append(button);
}
