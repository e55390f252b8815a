#!/usr/bin/env python3
"""Hostile movies through the real service, one fresh lxframed per input.

Every input goes to an `lxframed --listen` that runs under strace; lxframes asks it for
five frames. For each input the harness records whether the service survived, how long
the job took (over 20 s counts as a hang), the service's peak RSS, and every path the
service tried to open and every socket call it made after it started serving (compared
with a clean run of a good movie, so the start-up's own files do not count).

The inputs, made at run time in BUILD/hostile: seeded corruptions of MP4, MKV and MOV
movies (bytes overwritten, runs zeroed, truncations), decode bombs, and manifests that
name other files or loopback addresses (DASH, HLS, ffconcat, SDP).

usage: bench/hostile.py [--build build] [--corruptions 600] [--only PREFIX]
"""

import argparse
import os
import random
import re
import shutil
import signal
import socket
import struct
import subprocess
import sys
import tempfile
import threading
import time
import zlib

HANG_SECONDS = 20


def ffmpeg(*arguments):
    subprocess.run(["ffmpeg", "-nostdin", "-loglevel", "error", "-y", *arguments], check=True)


def make_bases(folder):
    bases = {}
    source = ["-f", "lavfi", "-i", "testsrc2=size=320x240:rate=25:duration=4",
              "-f", "lavfi", "-i", "sine=frequency=440:duration=4"]
    for extension, codec in (("mp4", ["-c:v", "libx264", "-g", "25", "-bf", "2", "-c:a", "aac"]),
                             ("mkv", ["-c:v", "libx264", "-g", "25", "-c:a", "libvorbis"]),
                             ("mov", ["-c:v", "mpeg4", "-g", "25", "-c:a", "pcm_s16le"])):
        path = os.path.join(folder, "base." + extension)
        if not os.path.exists(path):
            ffmpeg(*source, *codec, "-pix_fmt", "yuv420p", path)
        bases[extension] = path
    return bases


def corrupt(data, rng):
    data = bytearray(data)
    kind = rng.randrange(4)
    if kind == 0:  # scattered bytes
        for _ in range(rng.randint(1, 40)):
            data[rng.randrange(len(data))] = rng.randrange(256)
    elif kind == 1:  # a run of zeros or 0xff
        start = rng.randrange(len(data))
        length = rng.randint(1, 4096)
        fill = rng.choice((0, 0xFF))
        data[start:start + length] = bytes([fill]) * len(data[start:start + length])
    elif kind == 2:  # a header's size fields in the first 4 KiB
        for _ in range(rng.randint(1, 8)):
            at = rng.randrange(min(len(data), 4096) - 4)
            data[at:at + 4] = struct.pack(">I", rng.choice((0, 1, 7, 8, 0x7FFFFFFF, 0xFFFFFFFF, rng.randrange(1 << 32))))
    else:  # truncated
        data = data[:rng.randrange(len(data))]
    return bytes(data)


def png_chunk(kind, payload):
    return struct.pack(">I", len(payload)) + kind + payload + struct.pack(">I", zlib.crc32(kind + payload))


def png_bomb(width, height):
    # A header that claims a huge picture, and a short stream of zero rows.
    rows = zlib.compress(b"\0" * (1 + width * 3) * 64, 9)
    return (b"\x89PNG\r\n\x1a\n" + png_chunk(b"IHDR", struct.pack(">IIBBBBB", width, height, 8, 2, 0, 0, 0)) +
            png_chunk(b"IDAT", rows) + png_chunk(b"IEND", b""))


def make_bombs(folder):
    inputs = []
    path = os.path.join(folder, "bomb-png-16000.png")
    with open(path, "wb") as out:
        out.write(png_bomb(16000, 16000))
    inputs.append(path)
    path = os.path.join(folder, "bomb-h264-8192x4320.h264")
    if not os.path.exists(path):
        ffmpeg("-f", "lavfi", "-i", "color=black:size=8192x4320:rate=25:duration=0.4", "-c:v", "libx264",
               "-preset", "ultrafast", "-refs", "16", "-pix_fmt", "yuv420p", path)
    inputs.append(path)
    path = os.path.join(folder, "bomb-rgb48-rotated.mov")
    if not os.path.exists(path):
        plain = os.path.join(folder, "bomb-rgb48-plain.mov")
        ffmpeg("-f", "lavfi", "-i", "color=gray:size=7680x4320:rate=1:duration=2", "-c:v", "ffv1",
               "-pix_fmt", "rgb48le", plain)
        ffmpeg("-i", plain, "-c", "copy", "-metadata:s:v:0", "rotate=90", path)
        os.unlink(plain)
    inputs.append(path)
    return inputs


def make_manifests(folder, secret, port):
    text = {
        "manifest.mpd": f"""<?xml version="1.0"?>
<MPD xmlns="urn:mpeg:dash:schema:mpd:2011" type="static" mediaPresentationDuration="PT4S" minBufferTime="PT1S"
     profiles="urn:mpeg:dash:profile:isoff-on-demand:2011">
 <Period><AdaptationSet mimeType="video/mp4">
  <Representation id="1" bandwidth="100000" width="320" height="240" codecs="avc1.64000d">
   <BaseURL>file://{secret}</BaseURL><SegmentBase indexRange="0-1000"/>
  </Representation></AdaptationSet></Period></MPD>
""",
        "manifest-http.mpd": f"""<?xml version="1.0"?>
<MPD xmlns="urn:mpeg:dash:schema:mpd:2011" type="static" mediaPresentationDuration="PT4S" minBufferTime="PT1S"
     profiles="urn:mpeg:dash:profile:isoff-on-demand:2011">
 <Period><AdaptationSet mimeType="video/mp4">
  <Representation id="1" bandwidth="100000" width="320" height="240" codecs="avc1.64000d">
   <BaseURL>http://127.0.0.1:{port}/secret.mp4</BaseURL><SegmentBase indexRange="0-1000"/>
  </Representation></AdaptationSet></Period></MPD>
""",
        "playlist.m3u8": f"#EXTM3U\n#EXT-X-TARGETDURATION:4\n#EXTINF:4,\nfile://{secret}\n#EXTINF:4,\nhttp://127.0.0.1:{port}/a.ts\n#EXT-X-ENDLIST\n",
        "script.ffconcat": f"ffconcat version 1.0\nfile '{secret}'\nfile 'secret.mp4'\n",
        "session.sdp": f"v=0\no=- 0 0 IN IP4 127.0.0.1\ns=x\nc=IN IP4 127.0.0.1\nt=0 0\nm=video {port} RTP/AVP 96\na=rtpmap:96 H264/90000\n",
    }
    inputs = []
    for name, body in text.items():
        path = os.path.join(folder, name)
        with open(path, "w") as out:
            out.write(body)
        inputs.append(path)
    return inputs


class LoopbackWatch:
    """Counts connections and datagrams that reach a loopback port."""

    def __init__(self, port):
        self.hits = 0
        self.tcp = socket.socket()
        self.tcp.setsockopt(socket.SOL_SOCKET, socket.SO_REUSEADDR, 1)
        self.tcp.bind(("127.0.0.1", port))
        self.tcp.listen(16)
        self.tcp.settimeout(0.2)
        self.stop = False
        self.thread = threading.Thread(target=self.run, daemon=True)
        self.thread.start()

    def run(self):
        while not self.stop:
            try:
                connection, _ = self.tcp.accept()
                self.hits += 1
                connection.close()
            except OSError:
                pass


def service_trace_events(trace_path, since_pattern="ProcessRequest|recvmsg"):
    """Paths the service opened and socket calls it made, with their results."""
    opened, sockets = [], []
    if not os.path.exists(trace_path):
        return opened, sockets
    with open(trace_path, errors="replace") as trace:
        for line in trace:
            match = re.search(r'open(?:at)?\((?:AT_FDCWD, )?"([^"]*)".*= (-?\d+)', line)
            if match:
                opened.append((match.group(1), int(match.group(2)) >= 0))
                continue
            match = re.search(r'\b(socket|connect|bind|sendto|execve)\((.*)\) += (-?\d+)', line)
            if match and (match.group(1) != "sendto" or "sa_family" in match.group(2)):
                sockets.append((match.group(1) + "(" + match.group(2)[:80] + ")", int(match.group(3)) >= 0))
    return opened, sockets


def run_one(build, movie, work, baseline_paths):
    address_path = os.path.join(work, "socket")
    if os.path.exists(address_path):
        os.unlink(address_path)
    trace_path = os.path.join(work, "trace")
    service = subprocess.Popen(
        ["strace", "-f", "-qq", "-o", trace_path, "-e", "trace=open,openat,socket,connect,bind,sendto,execve",
         os.path.join(build, "bin", "lxframed"), "--listen", "unix:path=" + address_path],
        stdout=subprocess.DEVNULL, stderr=subprocess.PIPE)
    for _ in range(500):
        if os.path.exists(address_path):
            break
        time.sleep(0.01)
    service_pid = None
    for _ in range(100):
        children = subprocess.run(["pgrep", "-P", str(service.pid)], capture_output=True, text=True).stdout.split()
        if children:
            service_pid = int(children[0])
            break
        time.sleep(0.01)
    output = os.path.join(work, "frames")
    shutil.rmtree(output, ignore_errors=True)
    start = time.monotonic()
    try:
        client = subprocess.run([os.path.join(build, "bin", "lxframes"), movie, "--address", "unix:path=" + address_path,
                                 "-n", "5", "-S", "160x120", "-q", "-o", output],
                                capture_output=True, text=True, timeout=HANG_SECONDS)
        seconds = time.monotonic() - start
        hang = False
        client_error = client.stderr.strip().splitlines()[-1:] if client.returncode else []
    except subprocess.TimeoutExpired:
        seconds, hang, client_error = HANG_SECONDS, True, ["timed out"]
    peak_kb = 0
    alive = False
    if service_pid:
        try:
            with open(f"/proc/{service_pid}/status") as status:
                for line in status:
                    if line.startswith("VmHWM:"):
                        peak_kb = int(line.split()[1])
            alive = service.poll() is None
        except OSError:
            alive = False
    # Stopping strace alone would leave the traced service running, detached.
    if service_pid:
        try:
            os.kill(service_pid, signal.SIGKILL)
        except ProcessLookupError:
            pass
    service.send_signal(signal.SIGTERM)
    try:
        service.wait(timeout=5)
    except subprocess.TimeoutExpired:
        service.kill()
        service.wait()
    opened, sockets = service_trace_events(trace_path)
    foreign = [(path, ok) for path, ok in opened if path not in baseline_paths[0]]
    sockets = [(call, ok) for call, ok in sockets if call not in baseline_paths[1]]
    crashed = not alive and not hang
    return {"seconds": seconds, "hang": hang, "crashed": crashed, "peak_kb": peak_kb, "opened": foreign,
            "sockets": sockets, "client_error": client_error}


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("--build", default=os.environ.get("LXKIT_BUILD", "build"))
    parser.add_argument("--corruptions", type=int, default=600)
    parser.add_argument("--only", default="")
    arguments = parser.parse_args()
    build = os.path.abspath(arguments.build)
    folder = os.path.join(build, "hostile")
    os.makedirs(folder, exist_ok=True)
    work = tempfile.mkdtemp(prefix="lxkit-hostile-")
    port = 47000 + os.getpid() % 1000
    watch = LoopbackWatch(port)

    bases = make_bases(folder)
    secret = os.path.join(folder, "secret.mp4")
    shutil.copy(bases["mp4"], secret)
    baseline = run_one(build, bases["mp4"], work, (set(), set()))
    baseline_paths = ({path for path, _ in baseline["opened"]}, {call for call, _ in baseline["sockets"]})

    inputs = []
    rng = random.Random(20261123)
    corrupted = os.path.join(folder, "corrupt")
    os.makedirs(corrupted, exist_ok=True)
    names = sorted(bases)
    for i in range(arguments.corruptions):
        extension = names[i % len(names)]
        with open(bases[extension], "rb") as source:
            data = source.read()
        path = os.path.join(corrupted, f"{i:04d}.{extension}")
        with open(path, "wb") as out:
            out.write(corrupt(data, rng))
        inputs.append(("corrupt", path))
    inputs += [("bomb", path) for path in make_bombs(folder)]
    inputs += [("manifest", path) for path in make_manifests(folder, secret, port)]
    if arguments.only:
        inputs = [(kind, path) for kind, path in inputs if kind.startswith(arguments.only)]

    totals = {}
    for kind, path in inputs:
        result = run_one(build, path, work, baseline_paths)
        total = totals.setdefault(kind, {"inputs": 0, "crashes": 0, "hangs": 0, "opened": 0, "opened_ok": 0,
                                         "sockets": 0, "peak_kb": 0, "slowest": 0.0})
        total["inputs"] += 1
        total["crashes"] += result["crashed"]
        total["hangs"] += result["hang"]
        total["opened"] += len(result["opened"])
        total["opened_ok"] += sum(1 for _, ok in result["opened"] if ok)
        total["sockets"] += sum(1 for _, ok in result["sockets"] if ok)
        total["peak_kb"] = max(total["peak_kb"], result["peak_kb"])
        total["slowest"] = max(total["slowest"], result["seconds"])
        if kind != "corrupt" or result["crashed"] or result["hang"] or result["opened"] or result["sockets"]:
            print(f"{os.path.basename(path)}: {'CRASH ' if result['crashed'] else ''}{'HANG ' if result['hang'] else ''}"
                  f"{result['seconds']:.2f} s, peak RSS {result['peak_kb'] // 1024} MB, "
                  f"opened {result['opened'] or 'nothing new'}, socket calls {result['sockets'] or 'none'}"
                  f"{', client: ' + result['client_error'][0] if result['client_error'] else ''}", flush=True)
    watch.stop = True
    for kind, total in totals.items():
        print(f"summary {kind}: {total['inputs']} inputs, {total['crashes']} crashes, {total['hangs']} hangs (> {HANG_SECONDS} s), "
              f"slowest {total['slowest']:.1f} s, {total['opened']} opens tried ({total['opened_ok']} succeeded), "
              f"{total['sockets']} socket calls succeeded, worst peak RSS {total['peak_kb'] // 1024} MB")
    print(f"summary loopback: {watch.hits} connections reached port {port}")
    shutil.rmtree(work, ignore_errors=True)
    return 0


if __name__ == "__main__":
    sys.exit(main())
