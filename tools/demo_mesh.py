"""Shapes for the demo scene: lathed profiles, swept sections, rounded boxes, spheres and control cages.
Standard library only.

A mesh has positions, unit normals, texture coordinates (v grows downwards, as glTF has it), optional tangents
and triangles, counter-clockwise from outside. A profile is a list of (x, y, nx, ny): points of a curve in a
plane with their outward normals. Metres.
"""

import math


class Mesh:
    def __init__(self):
        self.positions, self.normals, self.uvs, self.tangents, self.triangles = [], [], [], [], []

    def vertex(self, position, normal, uv=(0.0, 0.0), tangent=None):
        self.positions.append(position)
        self.normals.append(normal)
        self.uvs.append(uv)
        if tangent:
            self.tangents.append(tangent)
        return len(self.positions) - 1

    def triangle(self, a, b, c):
        """Turned so that it faces its normals.

        Skips what has no area, so that a profile may touch its axis.
        """
        p, q, r = self.positions[a], self.positions[b], self.positions[c]
        face = cross(sub(q, p), sub(r, p))
        if length(face) > 1e-12:
            out = plus(plus(self.normals[a], self.normals[b]), self.normals[c])
            self.triangles.append((a, b, c) if dot(face, out) > 0 else (a, c, b))

    def quad(self, a, b, c, d):
        self.triangle(a, b, c)
        self.triangle(a, c, d)

    def grid(self, rows, columns, first):
        """Quads between `rows` x `columns` vertices laid row by row from index `first`."""
        for j in range(rows - 1):
            for i in range(columns - 1):
                a = first + j * columns + i
                self.quad(a, a + 1, a + columns + 1, a + columns)

    def add(self, other, move=(0.0, 0.0, 0.0)):
        first = len(self.positions)
        self.positions += [plus(p, move) for p in other.positions]
        self.normals += other.normals
        self.uvs += other.uvs
        self.tangents += other.tangents
        self.triangles += [tuple(first + i for i in t) for t in other.triangles]
        return self


# Vectors ------------------------------------------------------------


def plus(a, b):
    return (a[0] + b[0], a[1] + b[1], a[2] + b[2])


def sub(a, b):
    return (a[0] - b[0], a[1] - b[1], a[2] - b[2])


def times(a, s):
    return (a[0] * s, a[1] * s, a[2] * s)


def dot(a, b):
    return a[0] * b[0] + a[1] * b[1] + a[2] * b[2]


def cross(a, b):
    return (a[1] * b[2] - a[2] * b[1], a[2] * b[0] - a[0] * b[2], a[0] * b[1] - a[1] * b[0])


def length(a):
    return math.sqrt(dot(a, a))


def unit(a):
    return times(a, 1.0 / length(a))


# Profiles ------------------------------------------------------------


def rounded(points, radii, steps=6, closed=False):
    """A polyline walked with its outside on the right hand, each corner rounded by its radius.

    `radii` is one for all, or a list.
    """
    count = len(points)
    radii = radii if isinstance(radii, list) else [radii] * count
    profile = []
    for i, point in enumerate(points):
        before, after = points[i - 1], points[(i + 1) % count]
        if not closed and i in (0, count - 1):
            near = after if i == 0 else before
            dx, dy = (near[0] - point[0], near[1] - point[1]) if i == 0 else (point[0] - near[0], point[1] - near[1])
            size = math.hypot(dx, dy)
            profile.append((point[0], point[1], dy / size, -dx / size))
        else:
            profile += _corner(before, point, after, radii[i], steps)
    return profile + profile[:1] if closed else profile


def _corner(before, point, after, radius, steps):
    ax, ay = point[0] - before[0], point[1] - before[1]
    bx, by = after[0] - point[0], after[1] - point[1]
    la, lb = math.hypot(ax, ay), math.hypot(bx, by)
    ax, ay, bx, by = ax / la, ay / la, bx / lb, by / lb
    turn = math.atan2(ax * by - ay * bx, ax * bx + ay * by)
    reach = min(radius * abs(math.tan(turn / 2)), la / 2, lb / 2)
    radius = reach / max(1e-9, abs(math.tan(turn / 2)))
    side = 1 if turn > 0 else -1
    sx, sy = point[0] - ax * reach, point[1] - ay * reach
    cx, cy = sx - side * ay * radius, sy + side * ax * radius
    out = []
    for i in range(steps + 1):
        angle = math.atan2(ay, ax) + turn * i / steps
        nx, ny = math.sin(angle), -math.cos(angle)
        out.append((cx + side * nx * radius, cy + side * ny * radius, nx, ny))
    return out


def flowing(points, steps=8):
    """A smooth curve through points, walked with its outside on the right hand."""
    padded = [_mirrored(points[1], points[0])] + list(points) + [_mirrored(points[-2], points[-1])]
    profile = []
    for k in range(1, len(padded) - 2):
        last = k == len(padded) - 3
        for i in range(steps + (1 if last else 0)):
            profile.append(_spline(padded[k - 1 : k + 3], i / steps))
    return profile


def _mirrored(inner, end):
    return (2 * end[0] - inner[0], 2 * end[1] - inner[1])


def _spline(p, t):
    value, slope = [], []
    for a, b, c, d in zip(*p):
        value.append(0.5 * (2 * b + (c - a) * t + (2 * a - 5 * b + 4 * c - d) * t * t + (3 * b - a - 3 * c + d) * t**3))
        slope.append(0.5 * ((c - a) + 2 * (2 * a - 5 * b + 4 * c - d) * t + 3 * (3 * b - a - 3 * c + d) * t * t))
    size = math.hypot(*slope)
    return (value[0], value[1], slope[1] / size, -slope[0] / size)


def inner_wall(profile, thickness):
    """The profile moved inwards and walked backwards, its normals turned: the inside of a vessel."""
    return [(x - nx * thickness, y - ny * thickness, -nx, -ny) for x, y, nx, ny in reversed(profile)]


def lip(outer_end, inner_start, steps=8):
    """A half round from the end of an outer wall to the start of its inner wall."""
    x0, y0, nx, ny = outer_end
    x1, y1 = inner_start[0], inner_start[1]
    cx, cy, radius = (x0 + x1) / 2, (y0 + y1) / 2, math.hypot(x1 - x0, y1 - y0) / 2
    base = math.atan2(ny, nx)
    out = []
    for i in range(1, steps):
        angle = base + math.pi * i / steps
        out.append((cx + radius * math.cos(angle), cy + radius * math.sin(angle), math.cos(angle), math.sin(angle)))
    return out


def arc_lengths(points):
    lengths = [0.0]
    for p, q in zip(points, points[1:]):
        lengths.append(lengths[-1] + math.dist(p, q))
    return lengths


# Surfaces ------------------------------------------------------------


def lathe(profile, segments=96, u_repeat=1.0, v_range=None, tangents=False):
    """The profile turned about the y axis.

    U goes round; v runs from the profile's end (0, the top of a picture) to its start.
    """
    mesh = Mesh()
    run = arc_lengths([p[:2] for p in profile])
    top, bottom = v_range or (0.0, 1.0)
    for i in range(segments + 1):
        angle = 2 * math.pi * i / segments
        c, s = math.cos(angle), -math.sin(angle)
        for (x, y, nx, ny), at in zip(profile, run):
            v = bottom + (top - bottom) * at / run[-1]
            # Normal maps: red goes with u, green towards the picture's top.
            tangent = (s, 0.0, -c, 1.0) if tangents else None
            mesh.vertex((x * c, y, x * s), unit((nx * c, ny, nx * s)), (u_repeat * i / segments, v), tangent)
    columns = len(profile)
    for i in range(segments):
        for j in range(columns - 1):
            a = i * columns + j
            mesh.quad(a, a + columns, a + columns + 1, a + 1)
    return mesh


def flat_top_uv(mesh, size):
    """Texture coordinates from above wherever the surface looks up or down, in metres over `size`."""
    for i, (p, n) in enumerate(zip(mesh.positions, mesh.normals)):
        if abs(n[1]) > 0.72:
            mesh.uvs[i] = (p[0] / size, p[2] / size)
    return mesh


def sphere(radius, segments=64, rings=32):
    arc = [math.pi * (i / rings - 0.5) for i in range(rings + 1)]
    return lathe([(radius * math.cos(a), radius * math.sin(a), math.cos(a), math.sin(a)) for a in arc], segments)


def torus(large, small, segments=128, sides=48):
    """Lies in the plane of x and y, so that it stands."""
    mesh = Mesh()
    for i in range(segments + 1):
        a = 2 * math.pi * i / segments
        out = (math.cos(a), math.sin(a), 0.0)
        for j in range(sides + 1):
            b = 2 * math.pi * j / sides
            normal = plus(times(out, math.cos(b)), (0.0, 0.0, -math.sin(b)))
            mesh.vertex(plus(times(out, large), times(normal, small)), normal, (i / segments * 4, j / sides))
    for i in range(segments):
        for j in range(sides):
            a = i * (sides + 1) + j
            mesh.quad(a, a + 1, a + sides + 2, a + sides + 1)
    return mesh


def tube(path, radius, sides=12):
    """A round tube along points of space, closed by half spheres.

    `radius` may be a function of the place from 0 to 1.
    """
    mesh = Mesh()
    size = radius if callable(radius) else lambda _: radius
    rows, side = [], None
    for k, point in enumerate(path):
        ahead = unit(sub(path[min(k + 1, len(path) - 1)], path[max(k - 1, 0)]))
        side = side or (cross(ahead, (0.0, 0.0, 1.0)) if abs(ahead[2]) < 0.9 else cross(ahead, (0.0, 1.0, 0.0)))
        side = unit(sub(side, times(ahead, dot(side, ahead))))
        rows.append((point, ahead, side, size(k / (len(path) - 1))))
    rounds = [math.pi / 2 * i / 4 for i in range(5)]
    capped = [(rows[0], -math.sin(a), math.cos(a)) for a in reversed(rounds[1:])]
    capped += [(row, 0.0, 1.0) for row in rows]
    capped += [(rows[-1], math.sin(a), math.cos(a)) for a in rounds[1:]]
    for j, ((point, ahead, right, r), along, around) in enumerate(capped):
        up = cross(ahead, right)
        for i in range(sides + 1):
            a = 2 * math.pi * i / sides
            out = plus(times(right, math.cos(a)), times(up, math.sin(a)))
            normal = unit(plus(times(out, around), times(ahead, along)))
            mesh.vertex(plus(point, times(normal, r)), normal, (i / sides, j / len(capped)))
    mesh.grid(len(capped), sides + 1, 0)
    return mesh


def extruded(profile, depth, bevel, uv_size=1.0, bevel_steps=4):
    """A swept wall.

    The profile in the plane of x and y, drawn along z from -depth/2 to depth/2. Not capped.
    """
    mesh = Mesh()
    run = arc_lengths([p[:2] for p in profile])
    for z, inset, lean in _bevelled_depth(depth, bevel, bevel_steps):
        for (x, y, nx, ny), at in zip(profile, run):
            normal = unit((nx * math.cos(lean), ny * math.cos(lean), math.sin(lean)))
            mesh.vertex((x - nx * inset, y - ny * inset, z), normal, (at / uv_size, z / uv_size))
    mesh.grid(len(mesh.positions) // len(profile), len(profile), 0)
    return mesh


def _bevelled_depth(depth, bevel, steps):
    half = depth / 2
    back = [(-half + bevel * (1 - math.sin(a)), bevel * (1 - math.cos(a)), -a) for a in _quarter(steps)]
    return [(z, inset, lean) for z, inset, lean in reversed(back)] + [(-z, inset, -lean) for z, inset, lean in back]


def _quarter(steps):
    return [math.pi / 2 * i / steps for i in range(steps + 1)]


def band(outer, inner, z, up, uv_size=1.0):
    """A flat strip between two curves with equally many points, in the plane at z.

    `up` is 1 for the front, -1 for the back.
    """
    mesh = Mesh()
    for curve in (outer, inner):
        for x, y in curve:
            mesh.vertex((x, y, z), (0.0, 0.0, float(up)), (x / uv_size, -y / uv_size))
    count = len(outer)
    for i in range(count - 1):
        mesh.quad(i, i + 1, count + i + 1, count + i)
    return mesh


def rounded_box(width, height, depth, radius, steps=5, uv_size=1.0):
    """A box about the origin with rounded edges and corners.

    Texture coordinates lie flat on every side, in metres over uv_size.
    """
    mesh = Mesh()
    half = (width / 2, height / 2, depth / 2)
    for axis in range(3):
        for sign in (-1, 1):
            _box_side(mesh, half, radius, axis, sign, steps, uv_size)
    return mesh


def _box_side(mesh, half, radius, axis, sign, steps, uv_size):
    u, v = (axis + 1) % 3, (axis + 2) % 3
    offsets = [radius * math.tan(math.pi / 4 * i / steps) for i in range(steps + 1)]
    lines = {a: [(-1, o) for o in reversed(offsets)] + [(1, o) for o in offsets] for a in (u, v)}
    first = len(mesh.positions)
    for sv, ov in lines[v]:
        for su, ou in lines[u]:
            core, away = [0.0] * 3, [0.0] * 3
            core[axis], away[axis] = sign * (half[axis] - radius), sign * radius
            core[u], away[u] = su * (half[u] - radius), su * ou
            core[v], away[v] = sv * (half[v] - radius), sv * ov
            normal = unit(tuple(away))
            place = plus(tuple(core), times(normal, radius))
            flat = (place[0], place[2]) if axis == 1 else (place[0] if axis == 2 else place[2], -place[1])
            mesh.vertex(place, normal, (flat[0] / uv_size, flat[1] / uv_size))
    count = len(lines[u])
    mesh.grid(len(lines[v]), count, first)


# Control cages ------------------------------------------------------------


def knot_cage(scale, width, height, stations=18, quarter_turns=3):
    """Quads of a closed, twisting bar along a trefoil knot.

    (positions, quads). A subdivision generator makes it smooth.
    """

    def at(t):
        ring = 2 + math.cos(3 * t)
        return times((ring * math.cos(2 * t), ring * math.sin(2 * t), 1.25 * math.sin(3 * t)), scale)

    centres = [at(2 * math.pi * k / stations) for k in range(stations)]
    aheads = [unit(sub(centres[(k + 1) % stations], centres[k - 1])) for k in range(stations)]
    sides = _carried(aheads)
    again = _carried(aheads + aheads[:1], sides[0])[-1]
    gap = math.atan2(dot(cross(sides[0], again), aheads[0]), dot(sides[0], again))
    turn = (quarter_turns * math.pi / 2 - gap) / stations
    positions = []
    for k, (centre, ahead, side) in enumerate(zip(centres, aheads, sides)):
        up = cross(ahead, side)
        for corner in range(4):
            a = turn * k + math.pi / 4 + corner * math.pi / 2
            positions.append(plus(centre, plus(times(side, width * math.cos(a)), times(up, height * math.sin(a)))))
    quads = []
    for k in range(stations):
        shift = quarter_turns if k == stations - 1 else 0
        for c in range(4):
            a, b = k * 4 + c, k * 4 + (c + 1) % 4
            following = (k + 1) % stations * 4
            quads.append((a, b, following + (c + 1 + shift) % 4, following + (c + shift) % 4))
    return positions, quads


def _carried(aheads, side=None):
    """Sideways directions that turn no more than the path does."""
    side = side or unit(cross(aheads[0], (0.0, 0.0, 1.0)))
    sides = []
    for ahead in aheads:
        side = unit(sub(side, times(ahead, dot(side, ahead))))
        sides.append(side)
    return sides
