#!/usr/bin/env python3
"""Runs `kvlexp preview` pages in headless Chromium and checks what they show.

Usage: preview_test.py KVLEXP SCENES_DIR EXAMPLES_DIR CASE
CASE is one of: demo, red_cube, cube_right, anim, corner_colours, morph.
Exits non-zero on failure.
"""
import html
import json
import math
import os
import re
import struct
import subprocess
import sys
import tempfile
import zlib

KVLEXP, SCENES, EXAMPLES, CASE = sys.argv[1:5]
WIDTH, HEIGHT = 900, 700
failures = []


def check(condition, message):
    if not condition:
        failures.append(message)
        print("FAIL:", message)


def run(args, **kw):
    result = subprocess.run(args, capture_output=True, text=True, timeout=120, **kw)
    if result.returncode != 0:
        raise SystemExit(f"{' '.join(args)} exited {result.returncode}:\n{result.stdout}\n{result.stderr}")
    return result.stdout


def chromium(work, url, *extra, budget=8000):
    profile = tempfile.mkdtemp(dir=work, prefix="profile-")
    args = ["chromium", "--headless", "--no-sandbox", "--disable-gpu", "--enable-unsafe-swiftshader",
            "--disable-quic", "--no-first-run", "--disable-background-networking", "--disable-component-update",
            "--disable-sync", "--hide-scrollbars", f"--user-data-dir={profile}", f"--window-size={WIDTH},{HEIGHT}",
            f"--virtual-time-budget={budget}", *extra, url]
    return subprocess.run(args, capture_output=True, text=True, timeout=120).stdout


def element_text(dom, element_id):
    match = re.search(r'<[a-z]+ id="' + element_id + r'"[^>]*>(.*?)</', dom, re.S)
    return html.unescape(match.group(1)) if match else None


def read_png(path):
    """RGB rows of an 8-bit RGB or RGBA PNG, decoded with zlib alone."""
    data = open(path, "rb").read()
    assert data[:8] == b"\x89PNG\r\n\x1a\n", "not a PNG"
    pos, idat = 8, b""
    while pos < len(data):
        length, kind = struct.unpack(">I4s", data[pos:pos + 8])
        body = data[pos + 8:pos + 8 + length]
        if kind == b"IHDR":
            width, height, depth, colour = struct.unpack(">IIBB", body[:10])
        elif kind == b"IDAT":
            idat += body
        pos += 12 + length
    assert depth == 8 and colour in (2, 6), f"unexpected PNG format depth {depth} colour {colour}"
    bpp = 3 if colour == 2 else 4
    raw = zlib.decompress(idat)
    stride = width * bpp
    rows, prev, at = [], bytearray(stride), 0
    for _ in range(height):
        kind, line = raw[at], bytearray(raw[at + 1:at + 1 + stride])
        at += 1 + stride
        for i in range(stride):
            a = line[i - bpp] if i >= bpp else 0
            b = prev[i]
            c = prev[i - bpp] if i >= bpp else 0
            if kind == 1: line[i] = (line[i] + a) & 255
            elif kind == 2: line[i] = (line[i] + b) & 255
            elif kind == 3: line[i] = (line[i] + (a + b) // 2) & 255
            elif kind == 4:
                p = a + b - c
                pa, pb, pc = abs(p - a), abs(p - b), abs(p - c)
                line[i] = (line[i] + (a if pa <= pb and pa <= pc else b if pb <= pc else c)) & 255
        rows.append([tuple(line[x * bpp:x * bpp + 3]) for x in range(width)])
        prev = line
    return rows


def dominated_by(p, channel):
    """True if colour channel 0, 1 or 2 of pixel p clearly outshines the other two."""
    others = [p[k] for k in range(3) if k != channel]
    return p[channel] > 80 and all(p[channel] > 2 * o + 20 for o in others)


def is_red(p):
    return dominated_by(p, 0)


def pixels_where(rows, view, test):
    x0, y0 = int(view["x"]), int(view["y"])
    x1, y1 = x0 + int(view["width"]), y0 + int(view["height"])
    return [(x, y) for y in range(y0, min(y1, len(rows))) for x in range(x0, min(x1, len(rows[0])))
            if test(rows[y][x])]


def red_pixels(rows, view):
    return pixels_where(rows, view, is_red)


def screen_x(view, file_x, distance=10):
    """Where a point at file_x on the plane through the origin lies in a front view from `distance`
    with a 45 degree vertical field of view."""
    return view["x"] + view["width"] / 2 + file_x / (distance * math.tan(math.radians(22.5))) * view["height"] / 2


def centre_x(pixels):
    return sum(x for x, _ in pixels) / len(pixels) if pixels else float("nan")


def read_sequence_samples(kvl_path):
    """Sequence 0 of each animation group chunk (1005), parsed here on its own."""
    data, pos, groups = open(kvl_path, "rb").read(), 0, {}
    while pos + 12 <= len(data):
        kind, version, node_id, size = struct.unpack("<HHII", data[pos:pos + 12])
        if kind == 1005:
            p = pos + 12 + 4
            name_len = data[p]
            p += 1 + name_len + 2
            start, end, rate, flags = struct.unpack("<iifH", data[p:p + 14])
            p += 14
            constant = {}
            for bit, key, n in ((2, "position", 3), (4, "rotation", 4), (8, "scale", 3)):
                if not flags & bit:
                    constant[key] = struct.unpack(f"<{n}f", data[p:p + 4 * n]); p += 4 * n
            count = struct.unpack("<I", data[p:p + 4])[0]; p += 4
            samples = []
            for _ in range(count):
                s = dict(constant)
                for bit, key, n in ((2, "position", 3), (4, "rotation", 4), (8, "scale", 3)):
                    if flags & bit:
                        s[key] = struct.unpack(f"<{n}f", data[p:p + 4 * n]); p += 4 * n
                samples.append(s)
            groups[node_id] = {"startTime": start, "sampleRate": rate, "samples": samples}
        pos += 12 + size
    return groups


MORPH_SHIFTS = (-3.0, 0.0, 3.0)  # x offset of the cube in each frame of the hand-made morph


def with_morph_frames(data, shifts):
    """The file with its one vertex buffer turned into a morphing one (version 2): one list per
    shift, the first list moved along x by it. Written here from the chunk layout, apart from the
    program's writer."""
    out, pos, done = bytearray(), 0, 0
    while pos + 12 <= len(data):
        kind, version, node_id, size = struct.unpack("<HHII", data[pos:pos + 12])
        payload = data[pos + 12:pos + 12 + size]
        if kind == 1001 and version == 1:
            flags, layout, count = struct.unpack("<IHI", payload[:10])
            stride = 12 + (12 if flags & 1 else 0) + (4 if flags & 2 else 0) + (8 if flags & 4 else 0)
            vertices = payload[10:]
            assert len(vertices) == count * stride, "a vertex buffer of the expected size"
            body = bytearray(struct.pack("<IIHI", len(shifts), flags, layout, count))
            for shift in shifts:
                for i in range(count):
                    v = bytearray(vertices[i * stride:(i + 1) * stride])
                    v[0:4] = struct.pack("<f", struct.unpack("<f", v[0:4])[0] + shift)
                    body += v
            out += struct.pack("<HHII", kind, 2, node_id, len(body)) + body
            done += 1
        else:
            out += data[pos:pos + 12 + size]
        pos += 12 + size
    assert done == 1, f"one vertex buffer to animate, found {done}"
    return bytes(out)


def export(scene, kvl, work, *settings):
    run([KVLEXP, "export", scene, kvl, "--drive-c", os.path.join(work, "c"), *settings], cwd=work)


def morphing_file(scene, work, name, *settings):
    """A KVL of `scene` whose mesh morphs through MORPH_SHIFTS, and its preview page."""
    plain = os.path.join(work, name + "-plain.kvl")
    export(scene, plain, work, *settings)
    kvl = os.path.join(work, name + ".kvl")
    with open(kvl, "wb") as f:
        f.write(with_morph_frames(open(plain, "rb").read(), MORPH_SHIFTS))
    run([KVLEXP, "validate", kvl])
    page = os.path.join(work, name + ".html")
    run([KVLEXP, "preview", kvl, "-o", page])
    return kvl, page


def playback(dom):
    return json.loads(element_text(dom, "kvl-playback") or "{}")


def played_readout(work, url, start_ms):
    """The playback readout of a playing page. Headless Chromium now and then dumps the page before
    it has let any time pass; such a readout, still at its start with no loop, is taken again."""
    for _ in range(3):
        shown = playback(chromium(work, url, "--dump-dom"))
        if shown.get("loops", 0) > 0 or abs(shown.get("time", start_ms) - start_ms) > 1e-6:
            break
    return shown


def check_morph(work, kvl, page, view):
    """The frames play in a loop, and a fixed time shows the frame of that time, in the picture too."""
    rate = 30  # no animation group above the cube: the page's default
    played = played_readout(work, "file://" + page, 0)
    morphs = played.get("morphs", [])
    check(played.get("playing") is True, f"the page plays the frames by itself: {played}")
    # Frames may be skipped on a slow start: more than one shown is what is sure.
    check(len(morphs) == 1 and len(morphs[0]["framesShown"]) > 1, f"the shape changed while playing: {morphs}")
    # How long the page may play, and in what steps, varies, so the loop is
    # shown from a start in the last frame: playing must come round to an earlier one.
    last = len(MORPH_SHIFTS) - 1
    near_end = (last + 0.7) / rate
    looped = played_readout(work, "file://" + page + f"?time={near_end!r}&play=1", near_end * 1000)
    check(looped.get("playing") is True and looped.get("loops", 0) >= 1 and
          any(f < last for f in looped.get("morphs", [{}])[0].get("framesShown", [])),
          f"played from just before the end, the frames start over: {looped}")
    for frame in (0, 2):
        url = "file://" + page + f"?canvas=640x480&markers=0&view=origin&distance=10&time={(frame + 0.5) / rate!r}"
        shown = playback(chromium(work, url, "--dump-dom"))
        morphs = shown.get("morphs", [])
        check(len(morphs) == 1 and morphs[0]["frame"] == frame and morphs[0]["frames"] == len(MORPH_SHIFTS),
              f"between frames {frame} and {frame + 1} the page shows frame {frame}: {morphs}")
        check(shown.get("playing") is False, "a page given a time holds it")
        shot = os.path.join(work, f"frame{frame}.png")
        chromium(work, url, f"--screenshot={shot}")
        red = red_pixels(read_png(shot), view)
        want = screen_x(view, MORPH_SHIFTS[frame])
        check(len(red) > 200 and abs(centre_x(red) - want) < 0.04 * view["width"],
              f"in frame {frame} the cube is at x={centre_x(red):.0f} ({len(red)} red pixels), expected {want:.0f}")

    # Under an animation group the frames keep the group's sample grid: two
    # frames per sample at 30 frames per second make 15 per second.
    groups_kvl, groups_page = morphing_file(os.path.join(SCENES, "preview_anim.json"), work, "morph-group",
                                            "--set", "samplerate=2")
    groups = read_sequence_samples(groups_kvl)
    check(len(groups) == 1, f"one animation group above the morphing cube, found {len(groups)}")
    seq = next(iter(groups.values()))
    check(seq["sampleRate"] != rate, f"the group's rate {seq['sampleRate']} tells it apart from the default")
    time_ms = 1.5 * 1000.0 / seq["sampleRate"] - seq["startTime"]
    url = "file://" + groups_page + f"?time={time_ms / 1000.0!r}"
    morphs = playback(chromium(work, url, "--dump-dom")).get("morphs", [])
    check(len(morphs) == 1 and morphs[0]["rate"] == seq["sampleRate"] and morphs[0]["frame"] == 1,
          f"half way between samples 1 and 2 of the group the page shows frame 1 at its rate: {morphs}")


def main():
    work = tempfile.mkdtemp(prefix="kvl-preview-")
    scene = os.path.join(EXAMPLES, "demo.json") if CASE == "demo" else os.path.join(SCENES, f"preview_{CASE}.json")
    if CASE == "morph":
        kvl, _ = morphing_file(os.path.join(SCENES, "preview_red_cube.json"), work, "morph")
    else:
        kvl = os.path.join(work, f"{CASE}.kvl")
        export(scene, kvl, work, "--preview")
        page = kvl + ".html"
        check(os.path.getsize(page) > 100000, "export --preview wrote the page beside the output")
    run([KVLEXP, "preview", kvl, "-o", os.path.join(work, "page.html")])

    # Without a time the page plays what moves.
    query = "?canvas=640x480&" + ("markers=0&view=origin&distance=10" if CASE != "demo" else "markers=1")
    if CASE == "anim":
        groups = read_sequence_samples(kvl)
        check(len(groups) == 1, f"one animation group in the file, found {len(groups)}")
        group_id, seq = next(iter(groups.items()))
        middle = len(seq["samples"]) // 2
        time_ms = middle * 1000.0 / seq["sampleRate"] - seq["startTime"]
        expected = seq["samples"][middle]["position"]
        query += f"&time={time_ms / 1000.0!r}"
    url = "file://" + os.path.join(work, "page.html") + query

    dom = chromium(work, url, "--dump-dom")
    if element_text(dom, "kvl-ready") != "ready":
        # On a machine busy with other work (the sanitizer build's tests run
        # two at a time) the software renderer can use up the page's virtual
        # time before the first picture; it gets once more, with longer.
        print("note: the page was not ready within its time; once more with a longer one")
        dom = chromium(work, url, "--dump-dom", budget=30000)
    errors = element_text(dom, "kvl-js-errors")
    check(errors is not None and errors.strip() == "", f"no JavaScript error (got {errors!r})")
    check(element_text(dom, "kvl-ready") == "ready", "the page finished rendering")
    shown = json.loads(element_text(dom, "kvl-summary") or "{}")
    inspected = json.loads(run([KVLEXP, "inspect", "--json", kvl]))
    for key in ("hierarchy", "meshes", "materials", "textures", "animations"):
        check(shown.get(key) == inspected[key], f"the page's {key} equal inspect --json's")
    totals = {k: v for k, v in inspected["totals"].items() if k not in ("errors", "warnings")}
    check(shown.get("totals") == totals, f"the page's totals {shown.get('totals')} equal inspect's {totals}")
    built = shown.get("built", {})
    check(built.get("drawnTriangles") == inspected["totals"]["triangles"],
          f"the page drew {built.get('drawnTriangles')} triangles, the file has {inspected['totals']['triangles']}")
    check(shown.get("problems") == 0, "the page met no problem in the file")

    shot = os.path.join(work, "shot.png")
    chromium(work, url, f"--screenshot={shot}")
    rows = read_png(shot)
    view = built["viewport"]
    check(view == {"x": 0, "y": 0, "width": 640, "height": 480}, f"the picture lies at the top left, 640x480: {view}")
    cx, cy = view["x"] + view["width"] / 2, view["y"] + view["height"] / 2
    red = red_pixels(rows, view)
    if CASE == "red_cube":
        check(is_red(rows[int(cy)][int(cx)]), f"the centre pixel is red, got {rows[int(cy)][int(cx)]}")
        check(len(red) > 500, f"the cube covers many pixels, {len(red)} red")
    elif CASE == "cube_right":
        check(len(red) > 200, f"the cube is in the picture, {len(red)} red pixels")
        check(all(x > cx for x, _ in red), "no red pixel on the left half of a front view")
        if red:
            mean_x = sum(x for x, _ in red) / len(red)
            # Three units right of a camera 10 units away with a 45 degree vertical field of view.
            want = cx + 3 / (10 * math.tan(math.radians(22.5))) * view["height"] / 2
            check(abs(mean_x - want) < 0.04 * view["width"], f"the cube centre at x={mean_x:.0f}, expected {want:.0f}")
    elif CASE == "corner_colours":
        # Red corners on a green material, and a blue material whose colour the exporter put into the
        # corners before folding it into the green one: the corners' colours show, not their products.
        blue = pixels_where(rows, view, lambda p: dominated_by(p, 2))
        green = pixels_where(rows, view, lambda p: dominated_by(p, 1))
        check(len(red) > 200 and all(x < cx for x, _ in red), f"the left cube is red: {len(red)} red pixels")
        check(len(blue) > 200 and all(x > cx for x, _ in blue), f"the right cube is blue: {len(blue)} blue pixels")
        check(not green, f"nothing shows the material's green, {len(green)} green pixels")
        for pixels, x, name in ((red, -2, "red"), (blue, 2, "blue")):
            if pixels:
                want = screen_x(view, x)
                check(abs(centre_x(pixels) - want) < 0.04 * view["width"],
                      f"the {name} cube at x={centre_x(pixels):.0f}, expected {want:.0f}")
    elif CASE == "morph":
        check_morph(work, kvl, os.path.join(work, "page.html"), view)
    elif CASE == "anim":
        at = shown.get("animatedAt", [])
        check(len(at) == 1 and at[0]["id"] == group_id, "the page reports the animated group")
        if at:
            got = at[0]["position"]
            check(all(abs(g - e) < 1e-5 for g, e in zip(got, expected)),
                  f"at the middle sample the group stands at {got}, the file says {list(expected)}")
        if red:
            mean_x = sum(x for x, _ in red) / len(red)
            want = cx + expected[0] / (10 * math.tan(math.radians(22.5))) * view["height"] / 2
            check(abs(mean_x - want) < 0.04 * view["width"], f"the moving cube at x={mean_x:.0f}, expected {want:.0f}")
        check(len(red) > 200, f"the moving cube is in the picture, {len(red)} red pixels")
    else:
        background = rows[int(cy)][int(view["x"]) + 2]
        drawn = sum(1 for y in range(int(view["y"]), int(view["y"] + view["height"]), 4)
                    for x in range(int(view["x"]), int(view["x"] + view["width"]), 4) if rows[y][x] != background)
        check(drawn > 500, f"the demo scene draws something, {drawn} sampled pixels differ from the background")
    if failures:
        print(f"{CASE}: {len(failures)} checks failed; files in {work}")
        return 1
    print(f"{CASE}: all checks passed")
    return 0


sys.exit(main())
