"use strict";

// Filters for the commands, or of a restore for the items, and folds that open on paper. The page
// reads without any of it.
(() => {
  const form = document.getElementById("filters");
  const search = document.getElementById("search");
  const shown = document.getElementById("shown");

  const folded = (text) => text.toLowerCase().replace(/\s+/g, " ");

  // An item of a restore is a unit and a change in one.
  const changesIn = (unit) =>
    unit.matches(".change") ? [unit] : [...unit.querySelectorAll(".change")];

  // Before anything is hidden: a unit's text without that of its changes. A key that was itself made
  // or removed goes with what stands below it.
  const textOf = (change) =>
    folded((change.matches(".key") ? change.parentElement : change).textContent);

  const ownText = (unit) => {
    if (unit.matches(".change")) return "";
    const copy = unit.cloneNode(true);
    for (const part of copy.querySelectorAll(".changes")) part.remove();
    return folded(copy.textContent);
  };

  // A registry value is also found by the names of the keys above it.
  const keysAbove = (change) => {
    let text = "";
    for (let group = change.parentElement?.closest(".group"); group;
      group = group.parentElement.closest(".group")) {
      text = `${group.querySelector(":scope > .item").textContent}\\${text}`;
    }
    return folded(text);
  };

  const units = [...document.querySelectorAll(".unit")].map((element) => ({
    element,
    outcome: element.dataset.outcome,
    text: ownText(element),
    changes: changesIn(element).map((change) => ({
      element: change,
      kind: change.dataset.kind,
      text: keysAbove(change) + textOf(change),
    })),
    groups: [...element.querySelectorAll(".group")],
  }));

  const chosen = (name) =>
    [...form.querySelectorAll(`input[name="${name}"]:checked`)].map((input) => input.value);

  const show = (element, isShown) => element.classList.toggle("out", !isShown);

  const apply = () => {
    const outcomes = chosen("outcome");
    const kinds = chosen("kind");
    const wanted = folded(search.value.trim());
    const count = { units: 0, changes: 0, allChanges: 0 };

    for (const unit of units) {
      const hasOutcome = outcomes.length === 0 || outcomes.includes(unit.outcome);
      const isNamed = unit.text.includes(wanted);
      let shownChanges = 0;
      for (const change of unit.changes) {
        const hasKind = kinds.length === 0 || kinds.includes(change.kind);
        const isShown = hasOutcome && hasKind && (isNamed || change.text.includes(wanted));
        show(change.element, isShown);
        if (isShown) shownChanges += 1;
      }
      // A key stays in view with what stands below it, also when it has no change of its own.
      for (const group of unit.groups) {
        show(group, group.querySelector(".change:not(.out)") !== null);
      }
      const isShown = shownChanges > 0 || (hasOutcome && kinds.length === 0 && isNamed);
      show(unit.element, isShown);
      if (isShown) count.units += 1;
      count.changes += isShown ? shownChanges : 0;
      count.allChanges += unit.changes.length;
    }
    tell(count);
  };

  const tell = (count) => {
    const name = form.dataset.units;
    const changes =
      name === "commands" ? `, ${count.changes} of ${count.allChanges} changes` : "";
    shown.textContent = `${count.units} of ${units.length} ${name}${changes} shown`;
  };

  form.addEventListener("input", apply);
  form.addEventListener("submit", (event) => event.preventDefault());
  form.addEventListener("reset", () => {
    setTimeout(apply);
  });
  search.addEventListener("keydown", (event) => {
    if (event.key !== "Escape") return;
    search.value = "";
    apply();
  });

  // A link from the summary leads to a command that a filter may have put out of view.
  for (const link of document.querySelectorAll('.worst a[href^="#"]')) {
    link.addEventListener("click", () => {
      form.reset();
      for (const unit of units) show(unit.element, true);
    });
  }

  const closed = [];
  window.addEventListener("beforeprint", () => {
    for (const fold of document.querySelectorAll("details:not([open])")) {
      closed.push(fold);
      fold.open = true;
    }
  });
  window.addEventListener("afterprint", () => {
    for (const fold of closed.splice(0)) fold.open = false;
  });

  form.hidden = false;
  apply();
})();
