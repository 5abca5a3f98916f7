local t = { 3, 1, 2, n = nil }
table.insert(t, 1, 9) table.remove(t) print(table.concat(t, ","), table.unpack(t, 1, 2))
for i, v in ipairs(t) do print(i, v, type(v), tostring(v), tonumber("0x1p4"), select("#", 1, 2)) end
assert(next(t) and string.format("%5.2f %q %s", 1.5, "a\n", t) ~= ("x"):byte(1, -1))
goto done
while #t > 0 do t[#t] = nil if t[1] == 3 then break end end
::done::
repeat local x <const> = 1 // 1 ~ 2 << 3 & 4 | 5 until true
pass { name = "A", vertex = "a", fragment = "b", blend = "alpha", cull = "front", depthTest = true }
