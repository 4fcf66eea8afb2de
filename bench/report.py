#!/usr/bin/env python3
"""Turns the benchmarks' JSON lines into one Markdown table, with the targets and whether each is met.

Comparisons are ratios measured in the same run, since these machines are shared and noisy."""
import json
import re
import sys

SUBJECTS = ["brevlin", "qt-floor", "gnome-clocks", "kteatime"]


def load(path):
    rows = []
    with open(path) as f:
        for line in f:
            line = line.strip()
            if line.startswith("{"):
                rows.append(json.loads(line))
    return rows


def find(rows, metric, subject="brevlin", **match):
    for r in rows:
        if r["metric"] == metric and r.get("subject") == subject and all(r.get(k) == v for k, v in match.items()):
            return r["value"]
    return None


def detail_field(rows, metric, *names, subject="brevlin"):
    """The numbers that follow the given words in a row's detail ("p10 1.04, p90 2.3" -> "1.04 / 2.3")."""
    for r in rows:
        if r["metric"] == metric and r.get("subject") == subject:
            found = [re.search(rf"\b{name} (-?[0-9.]+)", r.get("detail", "")) for name in names]
            if all(found):
                return " / ".join(m.group(1) for m in found)
    return None


def fmt(value, digits=1):
    if value is None:
        return "–"
    if isinstance(value, str):
        return value
    return f"{value:.{digits}f}"


def verdict(ok):
    return "–" if ok is None else ("yes" if ok else "**no**")


def main():
    rows = load(sys.argv[1])
    out = []
    out.append("| Measure | Brevlin | Qt floor | gnome-clocks | kteatime | Target | Met |")
    out.append("|---|---|---|---|---|---|---|")

    def line(name, values, target="", ok=None, digits=1):
        cells = [fmt(v, digits) for v in values]
        out.append(f"| {name} | " + " | ".join(cells) + f" | {target} | {verdict(ok)} |")

    # Start-up.
    start = {s: find(rows, "startup_ms", s) for s in SUBJECTS}
    line("Start-up to drawn window, median (ms)", [start[s] for s in SUBJECTS], "", None, 0)
    b, q, g = start["brevlin"], start["qt-floor"], start["gnome-clocks"]
    ratio = find(rows, "startup_ratio")
    if ratio is not None:
        spread = detail_field(rows, "startup_ratio", "p10", "p90")
        line("**Start-up ÷ Qt floor, median of the pairs**" + (f" (p10 / p90 {spread})" if spread else ""),
             [ratio, None, None, None], "≤ 1.15", ratio <= 1.15, 2)
    if b is not None and q:
        line("Start-up ÷ Qt floor, ratio of the medians", [b / q, None, None, None], "", None, 2)
    warm = find(rows, "startup_ms", "gnome-clocks-warm")
    if warm is not None:
        line("Start-up, gnome-clocks with a warm shader cache (ms)", [None, None, warm, None], "", None, 0)
    if b is not None and warm:
        line("**Start-up ÷ gnome-clocks, warm shader cache**", [b / warm, None, None, None], "< 0.25", b / warm < 0.25, 2)
    if b is not None and g:
        line("Start-up ÷ gnome-clocks, cold", [b / g, None, None, None], "< 0.25", b / g < 0.25, 2)

    # Memory.
    # At launch: the pairs' medians for Brevlin and the floor, the single launch of the peers otherwise.
    rss = {s: find(rows, "rss_launch_mb", s) for s in SUBJECTS}
    rss = {s: v if v is not None else find(rows, "rss_launch_single_mb", s) for s, v in rss.items()}
    ok = None if rss["brevlin"] is None else rss["brevlin"] <= 31
    line("Resident memory after launch, both sounds loaded (MB)", [rss[s] for s in SUBJECTS], "≤ 31", ok)
    anon = {s: find(rows, "rss_launch_anon_mb", s) for s in SUBJECTS}
    files = {s: find(rows, "rss_launch_file_mb", s) for s in SUBJECTS}
    if anon["brevlin"] is not None:
        line("… of it anonymous: heap, stacks, arenas (MB)", [anon[s] for s in SUBJECTS], "", None)
        line("… of it file-backed: libraries, fonts (MB)", [files[s] for s in SUBJECTS], "", None)
    diff = find(rows, "rss_launch_diff_mb")
    if diff is not None:
        spread = detail_field(rows, "rss_launch_diff_mb", "p10", "p90")
        line("Resident memory − Qt floor, median of the pairs (MB)" + (f" (p10 / p90 {spread})" if spread else ""),
             [diff, None, None, None], "", None, 2)
    loaded = find(rows, "rss_sounds_loaded_mb")
    plays = find(rows, "rss_after_plays_mb")
    if loaded is not None:
        line("Resident memory, both sounds loaded, on PulseAudio (MB)", [loaded, None, None, None], "≤ 31",
             loaded <= 31)
    if plays is not None:
        line("Resident memory after 100 plays (MB)", [plays, None, None, None], "≤ 40", plays <= 40)
    after = find(rows, "rss_after_counting_mb")
    growth = find(rows, "rss_growth_mb")
    line("Resident memory after the long countdown (MB)", [after, None, None, None], "flat", None)
    line("Growth over the long countdown (MB)", [growth, None, None, None], "≈ 0 (noise)",
         None if growth is None else growth < 1.0, 2)

    opening = find(rows, "prefs_opening_heap_growth")
    if opening is not None:
        line("Heap kept by each opening of the preferences, peak to peak over 2 000 (bytes)", [opening, None, None, None],
             "≈ 0 (noise)", opening < 64)

    # CPU.
    idle = {s: find(rows, "cpu_idle_pct", s) for s in SUBJECTS}
    line("CPU while idle (% of one core)", [idle[s] for s in SUBJECTS], "", None, 3)
    counting = {s: find(rows, "cpu_counting_pct", s) for s in SUBJECTS}
    c = counting["brevlin"]
    line("CPU while counting (% of one core)", [counting[s] for s in SUBJECTS], "< 0.2",
         None if c is None else c < 0.2, 3)

    # The three panel sizes: CPU, wake-ups, frames at the X server, drag cost.
    for size in ("340x120", "1280x800", "3840x2160"):
        cpu = find(rows, "cpu_counting_pct", size=size)
        if cpu is None:
            continue
        line(f"CPU while counting at {size} (% of one core)", [cpu, None, None, None], "< 0.2", cpu < 0.2, 3)
        wake = find(rows, "wakeups_per_s", size=size)
        line(f"Wake-ups while counting at {size} (per s)", [wake, None, None, None], "1", None, 2)
        jitter = find(rows, "tick_server_jitter_ms", size=size)
        drift = find(rows, "tick_server_drift_ms", size=size)
        if jitter is not None:
            line(f"Frame jitter at the X server, {size} (p99 − median, ms)", [jitter, None, None, None], "≤ 2",
                 jitter <= 2, 3)
            line(f"Frame drift at the X server, {size} (last − first, ms)", [drift, None, None, None], "", None, 3)
        step = find(rows, "resize_step_ms", size=size)
        if step is not None:
            line(f"Drag-resize step from {size}, CPU incl. hand-back (ms)", [step, None, None, None], "", None, 2)
        held = find(rows, "rss_counting_mb", size=size)
        if held is not None:
            line(f"Resident memory after counting and the drag at {size} (MB)", [held, None, None, None], "", None, 1)
    long_drift = find(rows, "tick_server_drift_ms", size="3840x2160-long")
    if long_drift is not None:
        line("Frame drift at the X server over the long run (ms)", [long_drift, None, None, None], "within ±2",
             abs(long_drift) <= 2, 3)

    # The signals near and past the end at 4K, beside the same minute without them.
    for signals, what in (("plain", "last minute, no signals"), ("warnings", "last minute crossing both warnings"),
                          ("flash", "minute of overtime, flash and overtime colours")):
        cpu = find(rows, "cpu_counting_pct", size=f"3840x2160-{signals}")
        if cpu is not None:
            line(f"CPU at 3840x2160, {what} (% of one core)", [cpu, None, None, None], "< 0.2", cpu < 0.2, 3)
        # A flash adds frames between the seconds, which the frame grid cannot tell from late ticks.
        jitter = find(rows, "tick_server_jitter_ms", size=f"3840x2160-{signals}")
        if jitter is not None and signals != "flash":
            line(f"Frame jitter at 3840x2160, {what} (ms)", [jitter, None, None, None], "≤ 2", jitter <= 2, 3)

    # Typing into a field that holds a long text.
    typing = [(r["length"], r["value"]) for r in rows if r["metric"] == "typing_key_us"]
    if typing:
        line("One key typed into a field holding 100 / 1 000 / 4 000 / 16 000 / 30 000 characters (µs)",
             [" / ".join(f"{v:.0f}" for _, v in sorted(typing)), None, None, None], "", None)

    # Tick accuracy.
    for condition in ("idle", "loaded"):
        med = find(rows, "tick_lateness_median_ms", condition=condition)
        p99 = find(rows, "tick_lateness_p99_ms", condition=condition)
        mx = find(rows, "tick_lateness_max_ms", condition=condition)
        jitter = find(rows, "tick_jitter_ms", condition=condition)
        drift = find(rows, "tick_drift_ms", condition=condition)
        skipped = find(rows, "tick_skipped", condition=condition)
        doubled = find(rows, "tick_doubled", condition=condition)
        count = find(rows, "tick_count", condition=condition)
        if med is None:
            continue
        line(f"Tick lateness, {condition}: median / p99 / max (ms)",
             [f"{med:.2f} / {p99:.2f} / {mx:.2f}", None, None, None], "", None)
        line(f"Tick jitter, {condition} (p99 − median, ms)", [jitter, None, None, None], "≤ 1", jitter <= 1.0, 3)
        line(f"Tick drift, {condition} (last − first lateness, ms)", [drift, None, None, None], "within ±1",
             abs(drift) <= 1.0, 3)
        line(f"Ticks skipped / doubled, {condition} (of {int(count)})",
             [f"{int(skipped)} / {int(doubled)}", None, None, None],
             "0 skipped" if condition == "idle" else "", (skipped == 0) if condition == "idle" else None)

    # Layout and tick cost.
    worst = None
    for size in ("200x60", "800x300", "4000x2000"):
        cold = find(rows, "layout_cold_us", size=size)
        warm = find(rows, "layout_idle_us", size=size)
        running = find(rows, "layout_running_us", size=size)
        if cold is None:
            continue
        worst = max(worst or 0, cold, warm, running)
        line(f"updateUI at {size}: first / idle / running (µs)",
             [f"{cold:.0f} / {warm:.1f} / {running:.1f}", None, None, None], "< 10 000",
             max(cold, warm, running) < 10000)
    tick = find(rows, "tick_us", size="800x300")
    line("One tick (µs)", [tick, None, None, None], "", None, 1)

    print("\n".join(out))
    notes = [r for r in rows if r.get("detail") and r["metric"] in ("startup_ms", "startup_ratio", "rss_launch_mb",
                                                                       "rss_launch_diff_mb", "rss_after_counting_mb", "rss_growth_mb",
                                                                       "cpu_counting_pct", "cpu_idle_pct",
                                                                       "rss_sounds_loaded_mb", "rss_after_plays_mb",
                                                                       "tick_server_jitter_ms", "resize_step_ms")]
    if notes:
        print()
        for r in notes:
            print(f"- {r['metric']} ({r['subject']}): {r['detail']}")


if __name__ == "__main__":
    main()
