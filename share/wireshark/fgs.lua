-- Wireshark's view of the FGs protocol: requests and replies, their entries and values, what is wrong with them, and which
-- reply belongs to which request. For the traces of `fgs --trace` and `fgs-sim --trace`; Wireshark 4.0 and later.

local fgs = Proto("fgs", "FGs controller protocol")

-- ---- fields

local KINDS = {[0] = "bits", [1] = "words", [2] = "double words"}
local BIT, WORD, DWORD = 0, 1, 2
local COMMANDS = {[0xFE] = "read", [0xFF] = "write"}
local READ, WRITE = 0xFE, 0xFF
local ACKNOWLEDGED, REFUSED = 0x20, 0x21
local MOST_ENTRIES = 6
local MOST_ASKED = 16 -- requests that a late reply may still answer

-- By code on the wire: number, kind, whether addresses are written in octal.
local AREAS = {
    [0x00] = {0, BIT, true}, [0x01] = {1, BIT, true}, [0x02] = {2, BIT}, [0x05] = {3, BIT}, [0x04] = {4, BIT},
    [0x08] = {5, WORD}, [0x12] = {6, WORD}, [0x11] = {7, WORD}, [0x06] = {8, WORD}, [0x07] = {9, WORD},
    [0x13] = {10, DWORD}, [0x03] = {11, BIT}, [0x09] = {12, WORD}, [0x10] = {13, WORD},
}

local CRC_STATUS = {[0] = "bad", [1] = "good"}

local f = {
    kind = ProtoField.string("fgs.kind", "Kind"),
    station = ProtoField.uint8("fgs.station", "Station"),
    command = ProtoField.uint8("fgs.command", "Command", base.HEX, COMMANDS),
    count = ProtoField.uint8("fgs.count", "Number of entries"),
    entry = ProtoField.string("fgs.entry", "Entry"),
    code = ProtoField.uint8("fgs.entry.code", "Area code", base.HEX),
    area = ProtoField.uint8("fgs.entry.area", "Area"),
    entry_count = ProtoField.uint8("fgs.entry.count", "Count"),
    address = ProtoField.uint16("fgs.entry.address", "Address"),
    place = ProtoField.string("fgs.entry.place", "Place"),
    data = ProtoField.bytes("fgs.entry.data", "Data"),
    bit = ProtoField.uint8("fgs.value.bit", "Bit"),
    word = ProtoField.uint16("fgs.value.word", "Word"),
    dword = ProtoField.uint32("fgs.value.dword", "Double word"),
    status = ProtoField.uint8("fgs.status", "Status", base.HEX, {[ACKNOWLEDGED] = "done", [REFUSED] = "refused"}),
    acknowledge = ProtoField.bool("fgs.acknowledge", "Acknowledgement"),
    refused = ProtoField.bool("fgs.refused", "Refusal"),
    crc = ProtoField.uint16("fgs.crc", "CRC", base.HEX),
    crc_status = ProtoField.uint8("fgs.crc.status", "CRC status", base.DEC, CRC_STATUS),
    noise = ProtoField.bytes("fgs.noise", "Bytes that are no frame"),
    length = ProtoField.uint8("fgs.remote.length", "Frame length"),
    host_type = ProtoField.uint8("fgs.remote.host_type", "Host type"),
    host_field = ProtoField.uint8("fgs.remote.host_field", "Host field"),
    link = ProtoField.uint8("fgs.remote.link", "Link number"),
    area_type = ProtoField.uint16("fgs.remote.area", "Area type"),
    remote_address = ProtoField.uint32("fgs.remote.address", "Address"),
    remote_count = ProtoField.uint16("fgs.remote.count", "Length"),
    mark = ProtoField.int32("fgs.remote.store_mark", "Store mark"),
    host_field_14 = ProtoField.int32("fgs.remote.host_field_14", "Host field"),
    remote_data = ProtoField.bytes("fgs.remote.data", "Data"),
    sum = ProtoField.uint8("fgs.remote.sum", "Sum", base.HEX),
    sum_status = ProtoField.uint8("fgs.remote.sum.status", "Sum status", base.DEC, CRC_STATUS),
    response_in = ProtoField.framenum("fgs.response_in", "Response in", base.NONE, frametype.RESPONSE),
    request_in = ProtoField.framenum("fgs.request_in", "Request in", base.NONE, frametype.REQUEST),
    time = ProtoField.relative_time("fgs.time", "Response time"),
}

local e = {
    crc = ProtoExpert.new("fgs.bad_crc", "Wrong check code", expert.group.CHECKSUM, expert.severity.ERROR),
    short = ProtoExpert.new("fgs.short", "The frame is cut off", expert.group.MALFORMED, expert.severity.ERROR),
    noise = ProtoExpert.new("fgs.is_noise", "Bytes that are no frame", expert.group.MALFORMED, expert.severity.WARN),
    refused = ProtoExpert.new("fgs.is_refused", "The controller refused", expert.group.RESPONSE_CODE,
                              expert.severity.WARN),
    silence = ProtoExpert.new("fgs.silence", "Nothing was on the line", expert.group.RESPONSE_CODE,
                              expert.severity.WARN),
    echo = ProtoExpert.new("fgs.echo", "Echo of a request", expert.group.SEQUENCE, expert.severity.NOTE),
    other = ProtoExpert.new("fgs.other_reply", "Not the reply to the request before it", expert.group.SEQUENCE,
                            expert.severity.WARN),
}

local function values(t)
    local list = {}
    for _, each in pairs(t) do list[#list + 1] = each end
    return list
end
fgs.fields = values(f)
fgs.experts = values(e)

-- Not there on a first pass that builds no tree; then all frames count as of one line.
local interface_field = Field.new("frame.interface_id")
local SENT, RECEIVED = 0, 1

-- ---- bytes

local function crc16(bytes, from, to)
    local crc = 0xFFFF
    for i = from, to do
        crc = bit.bxor(crc, bytes:get_index(i))
        for _ = 1, 8 do
            local low = bit.band(crc, 1)
            crc = bit.rshift(crc, 1)
            if low == 1 then crc = bit.bxor(crc, 0xA001) end
        end
    end
    return crc
end

local function le16(bytes, at)
    return bytes:get_index(at) + 256 * bytes:get_index(at + 1)
end

local function has_good_crc(bytes, from, to)
    return to - from >= 2 and le16(bytes, to - 1) == crc16(bytes, from, to - 2)
end

local function has_good_sum(bytes, from, to)
    local sum = 0
    for i = from, to - 1 do sum = sum + bytes:get_index(i) end
    return sum % 256 == bytes:get_index(to)
end

local function data_size(area, count)
    if area[2] == BIT then return math.floor((count + 7) / 8) end
    return count * (area[2] == WORD and 2 or 4)
end

-- ---- shapes: each takes the bytes and where a frame may begin, and gives the frame's length by its own counts, or none.
-- Where the bytes end before the frame, the second result is how many it wants.

local function read_request(bytes, at)
    local left = bytes:len() - at
    if left < 3 or bytes:get_index(at + 1) ~= READ then return nil end
    local entries = bytes:get_index(at + 2)
    if entries < 1 or entries > MOST_ENTRIES then return nil end
    for i = 0, entries - 1 do
        if 3 + 4 * i < left and not AREAS[bytes:get_index(at + 3 + 4 * i)] then return nil end
    end
    return 4 * entries + 5
end

local function read_reply(bytes, at)
    local left = bytes:len() - at
    if left < 3 or bytes:get_index(at + 1) ~= READ then return nil end
    local entries, size = bytes:get_index(at + 2), 3
    if entries < 1 or entries > MOST_ENTRIES then return nil end
    for _ = 1, entries do
        if size + 2 > left then return size + 4 end
        local area = AREAS[bytes:get_index(at + size)]
        if not area then return nil end
        size = size + 2 + data_size(area, bytes:get_index(at + size + 1))
    end
    return size + 2
end

local function write_request(bytes, at)
    local left = bytes:len() - at
    if left < 3 or bytes:get_index(at + 1) ~= WRITE or bytes:get_index(at + 2) ~= 1 then return nil end
    if left < 5 then return 10 end
    local area = AREAS[bytes:get_index(at + 3)]
    if not area then return nil end
    return 9 + (area[2] == BIT and 1 or data_size(area, bytes:get_index(at + 4)))
end

local function write_reply(bytes, at)
    if bytes:len() - at < 3 or bytes:get_index(at + 1) ~= WRITE then return nil end
    local status = bytes:get_index(at + 2)
    return (status == ACKNOWLEDGED or status == REFUSED) and 3 or nil
end

local function remote_request(bytes, at)
    local left = bytes:len() - at
    if left < 22 then return nil end
    for _, size in ipairs({bytes:get_index(at), left}) do -- above 255 bytes the length byte is only its low part
        if size >= 22 and size <= left and size % 256 == bytes:get_index(at) and has_good_sum(bytes, at, at + size - 1) then
            return size
        end
    end
    return nil
end

-- ---- what was learned on the first pass

-- By interface: the direction of requests, and the request that waits for its reply. By frame: its parts.
local lines, packets, partners

function fgs.init()
    lines, packets, partners = {}, {}, {}
end

local function line_of(id)
    lines[id] = lines[id] or {}
    return lines[id]
end

local function opposite(direction)
    if direction == SENT then return RECEIVED end
    if direction == RECEIVED then return SENT end
    return nil
end

-- Whether a frame that could be both is a request: by the direction that requests have on this line, else by whether one
-- waits for its reply, else a line begins with a request.
local function is_request_by_line(line, direction)
    if direction and line.requests then return direction == line.requests end
    return line.waiting == nil
end

-- The data bytes of a reply to a remote request.
local function remote_data_size(request)
    if request.remote.write then return 3 end -- six bytes in all
    local kind, length = request.remote.area, request.remote.count
    if kind <= 4 then return length end
    if kind == 10 then return 4 * math.ceil(length / 2) end
    return 2 * length
end

local function remote_reply(bytes, at, line)
    if not (line.waiting and line.waiting.remote) then return nil end
    return 5 + remote_data_size(line.waiting)
end

local LOCAL_SHAPES = {
    {name = "read request", is_request = true, size = read_request},
    {name = "write request", is_request = true, size = write_request},
    {name = "read reply", size = read_reply},
    {name = "write reply", size = write_reply, unchecked = true},
}
local REMOTE_REQUEST = {name = "remote request", is_request = true, size = remote_request, remote = true}
local REMOTE_REPLY = {name = "remote reply", size = remote_reply, remote = true}

-- The best frame that begins here: {shape, at, size}. With `damaged` also one with a bad check code or cut off.
local function frame_at(bytes, at, line, direction, damaged)
    local whole, other = {}, {}
    for _, shape in ipairs(LOCAL_SHAPES) do
        local size = shape.size(bytes, at)
        if size then
            local found = {shape = shape, at = at, size = size, whole = at + size <= bytes:len()}
            found.good = found.whole and (shape.unchecked or has_good_crc(bytes, at, at + size - 1))
            local list = found.good and whole or other
            list[#list + 1] = found
        end
    end
    local candidates = #whole > 0 and whole or damaged and other or {}
    local wants_request = is_request_by_line(line, direction)
    for _, found in ipairs(candidates) do
        if (found.shape.is_request or false) == wants_request then return found, #candidates == 1 end
    end
    local is_wrong_side = candidates == other and direction and line.requests -- a good frame is an echo there
    if candidates[1] and not is_wrong_side then return candidates[1], #candidates == 1 end
    return nil
end

local function remote_frame_at(bytes, at, line, direction, damaged)
    local size = remote_request(bytes, at)
    if size then return {shape = REMOTE_REQUEST, at = at, size = size, whole = true, good = true}, true end
    size = not (direction and direction == line.requests) and remote_reply(bytes, at, line)
    if not size then return nil end
    local whole = at + size <= bytes:len()
    local good = whole and has_good_crc(bytes, at, at + size - 1)
    if good or damaged then
        return {shape = REMOTE_REPLY, at = at, size = size, whole = whole, good = good}, false
    end
    return nil
end

-- What a request or a reply says, as far as its bytes go.
local function read_entries(bytes, found)
    local entries, last = {}, math.min(found.at + found.size, bytes:len())
    local is_reply, is_write = not found.shape.is_request, found.shape.name == "write request"
    local number, at = bytes:get_index(found.at + 2), found.at + 3
    for _ = 1, number do
        local head = is_reply and 2 or 4
        if at + head > last then break end
        local code, count = bytes:get_index(at), bytes:get_index(at + 1)
        local area = AREAS[code]
        if not area then break end
        local entry = {at = at, head = head, code = code, area = area, count = count, data = 0}
        if not is_reply then entry.address = le16(bytes, at + 2) end
        if is_reply then entry.data = data_size(area, count) end
        if is_write then entry.data = area[2] == BIT and 1 or data_size(area, count) end
        entry.data = math.max(0, math.min(entry.data, last - at - head))
        entries[#entries + 1] = entry
        at = at + head + entry.data
    end
    return entries
end

local function describe_contents(bytes, found)
    if found.size >= 3 and not found.shape.remote and found.shape.name ~= "write reply" and
        found.at + 3 <= bytes:len() then
        found.entries = read_entries(bytes, found)
    end
    if found.shape == REMOTE_REQUEST then
        local at = found.at
        found.remote = {
            write = found.size > 22,
            station = bytes:get_index(at + 4),
            area = bytes:get_index(at + 5) * 256 + bytes:get_index(at + 6),
            count = bytes:get_index(at + 11) * 256 + bytes:get_index(at + 12),
        }
        found.station = found.remote.station
    elseif found.shape == REMOTE_REPLY then
        found.station = nil
    else
        found.station = bytes:get_index(found.at)
    end
end

-- Whether the reply answers the request: the same station, areas and counts.
local function answers(reply, request)
    if reply.shape.remote or request.shape.remote then return (reply.shape.remote and request.shape.remote) or false end
    if reply.station ~= request.station then return false end
    if reply.shape.name == "write reply" then return request.shape.name == "write request" end
    if request.shape.name ~= "read request" or #reply.entries ~= #request.entries then return false end
    for i, entry in ipairs(reply.entries) do
        if entry.code ~= request.entries[i].code or entry.count ~= request.entries[i].count then return false end
    end
    return true
end

-- Cuts a packet into frames and noise. Damaged frames are looked for only where no good one begins, at the first byte.
local function parts_of(bytes, line, direction)
    local parts, at, noise_at = {}, 0, nil
    local function end_noise()
        if noise_at then parts[#parts + 1] = {noise = true, at = noise_at, size = at - noise_at} end
        noise_at = nil
    end
    local function take(found, is_sure)
        end_noise()
        describe_contents(bytes, found)
        found.is_sure = is_sure
        parts[#parts + 1] = found
        at = at + math.min(found.size, bytes:len() - at)
    end
    while at < bytes:len() do
        local found, is_sure = frame_at(bytes, at, line, direction, false)
        if not found then found, is_sure = remote_frame_at(bytes, at, line, direction, false) end
        if found then take(found, is_sure)
        else
            noise_at = noise_at or at
            at = at + 1
        end
    end
    end_noise()
    return parts
end

-- One or two bytes that are the beginning of the reply to the request that waits.
local function beginning_of_reply(bytes, at, line, direction)
    local asked, left = line.waiting, bytes:len() - at
    if left > 2 or not asked or not asked.entries or (direction and direction == line.requests) then return nil end
    local is_write = asked.shape.name == "write request"
    if bytes:get_index(at) ~= asked.station then return nil end
    if left == 2 and bytes:get_index(at + 1) ~= (is_write and WRITE or READ) then return nil end
    return {shape = LOCAL_SHAPES[is_write and 4 or 3], at = at, size = 3, whole = false, good = false}
end

-- Noise that is all that came may be a damaged frame.
local function with_damaged(parts, bytes, line, direction)
    for i, part in ipairs(parts) do
        if part.noise then
            local found = frame_at(bytes, part.at, line, direction, true)
            if not found and #parts == 1 then found = remote_frame_at(bytes, part.at, line, direction, true) end
            if not found then found = beginning_of_reply(bytes, part.at, line, direction) end
            if found then
                describe_contents(bytes, found)
                local rest = part.size - found.size
                found.whole = rest >= 0
                parts[i] = found
                if rest > 0 then
                    table.insert(parts, i + 1, {noise = true, at = part.at + found.size, size = rest})
                end
                return parts
            end
        end
    end
    return parts
end

local function has_good_reply(parts)
    for _, part in ipairs(parts) do
        if part.good and not part.shape.is_request then return true end
    end
    return false
end

-- The requests without an answer, the newest last: an answer may come late.
local function remember(line, request)
    line.asked = line.asked or {}
    table.insert(line.asked, request)
    if #line.asked > MOST_ASKED then table.remove(line.asked, 1) end
end

-- The newest request that the reply answers; it is answered now.
local function answered_by(line, reply)
    for i = #(line.asked or {}), 1, -1 do
        if answers(reply, line.asked[i]) then return table.remove(line.asked, i) end
    end
    return nil
end

-- Notes what the packet means for its line: who asks, what waits, what answers it.
local function learn(number, time, parts, line, direction)
    for _, part in ipairs(parts) do
        if part.good and part.is_sure and not line.requests then
            line.requests = part.shape.is_request and direction or not part.shape.is_request and opposite(direction) or nil
        end
        if part.good and part.shape.is_request and not (line.requests and direction and direction ~= line.requests) then
            part.number, part.time = number, time
            line.waiting = part.station ~= 0 and part or nil
            if line.waiting then remember(line, part) end
        elseif part.good and part.shape.is_request then
            part.is_echo = true
        elseif part.good then
            part.request = answered_by(line, part)
            part.is_other = line.waiting ~= nil and part.request ~= line.waiting
            if part.request then
                partners[part.request.number] = {reply = number}
                if part.request == line.waiting then line.waiting = nil end
            end
        elseif part.shape and not part.shape.is_request and not part.good and line.waiting then
            part.request = line.waiting -- damaged, and yet to it
        end
    end
end

-- ---- what is shown

local function number_in(base8, number)
    return base8 and string.format("%o", number) or tostring(number)
end

local function place_of(entry, address)
    if not address then return string.format("area %d x%d", entry.area[1], entry.count) end
    return string.format("%d:%sx%d", entry.area[1], number_in(entry.area[3], address), entry.count)
end

local function show_values(tree, buffer, entry, address, is_write)
    local texts, kind = {}, entry.area[2]
    local start = entry.at + entry.head
    local function label(i) return address and number_in(entry.area[3], address + i) or "+" .. i end
    local function show(field, range, value, i, shown)
        local item = tree:add(field, range, value)
        item:set_text(string.format("%s: %s", label(i), shown or tostring(value)))
        texts[#texts + 1] = tostring(value)
    end
    if kind == BIT and is_write then
        if entry.data > 0 then show(f.bit, buffer(start, 1), buffer(start, 1):uint(), 0) end
    elseif kind == BIT then
        for i = 0, math.min(entry.count, 8 * entry.data) - 1 do
            local at = start + math.floor(i / 8)
            show(f.bit, buffer(at, 1), bit.band(bit.rshift(buffer(at, 1):uint(), i % 8), 1), i)
        end
        return table.concat(texts)
    elseif kind == WORD then
        for i = 0, math.floor(entry.data / 2) - 1 do
            local range = buffer(start + 2 * i, 2)
            show(f.word, range, range:uint(), i, string.format("%d (0x%04X)", range:uint(), range:uint()))
        end
    else
        for i = 0, math.floor(entry.data / 4) - 1 do
            local range = buffer(start + 4 * i, 4)
            local value = buffer(start + 4 * i, 2):uint() + 65536 * buffer(start + 4 * i + 2, 2):uint()
            show(f.dword, range, value, i, string.format("%d (0x%08X)", value, value))
        end
    end
    return table.concat(texts, " ")
end

local function show_entry(tree, buffer, part, i)
    local entry = part.entries[i]
    local asked = part.request and part.request.entries and part.request.entries[i]
    local address = entry.address or (asked and asked.code == entry.code and asked.address)
    local place = place_of(entry, address)
    local branch = tree:add(f.entry, buffer(entry.at, entry.head + entry.data), place)
    branch:add(f.code, buffer(entry.at, 1))
    branch:add(f.area, buffer(entry.at, 1), entry.area[1]):set_generated()
    branch:add(f.entry_count, buffer(entry.at + 1, 1)):append_text(" " .. KINDS[entry.area[2]])
    if entry.address then
        branch:add_le(f.address, buffer(entry.at + 2, 2))
    elseif address then
        branch:add(f.address, buffer(entry.at, 2), address):set_generated()
    end
    branch:add(f.place, buffer(entry.at, entry.head), place):set_generated()
    if entry.data == 0 then return place end
    branch:add(f.data, buffer(entry.at + entry.head, entry.data))
    local shown = show_values(branch, buffer, entry, address, part.shape.name == "write request")
    branch:append_text(" = " .. shown)
    return place .. " = " .. shown
end

local function show_crc(tree, buffer, part)
    if not part.whole or part.shape.unchecked then return end
    local range = buffer(part.at + part.size - 2, 2)
    local branch = tree:add_le(f.crc, range)
    branch:append_text(part.good and " (good)" or " (wrong)")
    branch:add(f.crc_status, range, part.good and 1 or 0):set_generated()
    if not part.good then branch:add_proto_expert_info(e.crc) end
end

local function show_remote(tree, buffer, part)
    local at = part.at
    if part.shape == REMOTE_REPLY then
        local data = remote_data_size(part.request or {remote = {write = true}})
        if part.whole and part.request and not part.request.remote.write then
            tree:add(f.remote_data, buffer(at + 3, data))
            for i = 0, part.request.remote.area >= 5 and part.request.remote.area ~= 11 and data / 2 - 1 or -1 do
                tree:add(f.word, buffer(at + 3 + 2 * i, 2))
            end
        end
        show_crc(tree, buffer, part)
        return
    end
    tree:add(f.length, buffer(at, 1))
    tree:add(f.host_type, buffer(at + 1, 1))
    tree:add(f.host_field, buffer(at + 2, 1))
    tree:add(f.link, buffer(at + 3, 1))
    tree:add(f.station, buffer(at + 4, 1))
    tree:add(f.area_type, buffer(at + 5, 2))
    tree:add(f.remote_address, buffer(at + 7, 4))
    tree:add(f.remote_count, buffer(at + 11, 2))
    tree:add(f.mark, buffer(at + 13, 4))
    tree:add(f.host_field_14, buffer(at + 17, 4))
    if part.remote.write then tree:add(f.remote_data, buffer(at + 21, part.size - 22)) end
    tree:add(f.sum, buffer(at + part.size - 1, 1))
    tree:add(f.sum_status, buffer(at + part.size - 1, 1), 1):set_generated()
end

local function show_local(tree, buffer, part)
    local at, left = part.at, buffer:len() - part.at
    local texts = {}
    tree:add(f.station, buffer(at, 1))
    if left > 1 then tree:add(f.command, buffer(at + 1, 1)) end
    if part.shape.name == "write reply" then
        if left < 3 then return "" end
        local status = buffer(at + 2, 1):uint()
        local branch = tree:add(f.status, buffer(at + 2, 1))
        if status == ACKNOWLEDGED then
            tree:add(f.acknowledge, buffer(at + 2, 1), true):set_generated()
            return "done"
        end
        tree:add(f.refused, buffer(at + 2, 1), true):set_generated()
        branch:add_proto_expert_info(e.refused)
        return "refused"
    end
    if left > 2 then tree:add(f.count, buffer(at + 2, 1)) end
    for i = 1, #(part.entries or {}) do texts[i] = show_entry(tree, buffer, part, i) end
    show_crc(tree, buffer, part)
    return table.concat(texts, ", ")
end

local function show_partner(tree, number, part)
    local partner = part.shape.is_request and partners[number]
    if partner and part.number == number then
        tree:add(f.response_in, partner.reply):set_generated()
    end
    if part.request then
        tree:add(f.request_in, part.request.number):set_generated()
        if part.good then tree:add(f.time, part.elapsed):set_generated() end
    end
end

local VERBS = {["read request"] = "read", ["write request"] = "write", ["read reply"] = "answer",
               ["write reply"] = "write", ["remote request"] = "remote request", ["remote reply"] = "remote reply"}

local function show_frame(tree, buffer, number, part)
    local size = math.min(part.size, buffer:len() - part.at)
    local branch = tree:add(fgs, buffer(part.at, size))
    branch:add(f.kind, buffer(part.at, size), part.shape.is_request and "request" or "reply"):set_generated()
    local said = part.shape.remote and show_remote(branch, buffer, part) or
                     not part.shape.remote and show_local(branch, buffer, part) or ""
    local station = part.station and (part.station == 0 and "all stations" or "station " .. part.station) or "station ?"
    local text = string.format("%s, %s %s", station, VERBS[part.shape.name], said)
    if not part.whole then
        branch:add_proto_expert_info(e.short)
        text = text .. " [cut off]"
    elseif not part.good then
        text = text .. " [wrong check code]"
    end
    if part.is_echo then branch:add_proto_expert_info(e.echo) end
    if part.is_other then branch:add_proto_expert_info(e.other) end
    show_partner(branch, number, part)
    branch:append_text(", " .. text)
    return (part.shape.is_request and "> " or "< ") .. text
end

local function show_noise(tree, buffer, part)
    local branch = tree:add(fgs, buffer(part.at, part.size))
    branch:append_text(string.format(", %d bytes that are no frame", part.size))
    branch:add(f.noise, buffer(part.at, part.size))
    branch:add_proto_expert_info(e.noise)
    return string.format("[%d bytes that are no frame]", part.size)
end

local function show_silence(tree, buffer)
    local branch = tree:add(fgs, buffer())
    branch:append_text(", nothing was on the line")
    branch:add_proto_expert_info(e.silence)
    return "[nothing]"
end

local function seconds(time)
    local whole = math.floor(time)
    return NSTime.new(whole, math.floor((time - whole) * 1e9 + 0.5))
end

-- Looks at a packet for the first time.
local function take_in(buffer, pinfo)
    local bytes = buffer:bytes()
    local interface, direction = interface_field(), pinfo.p2p_dir
    if direction ~= SENT and direction ~= RECEIVED then direction = nil end
    local line = line_of(interface and interface.value or 0)
    local parts = parts_of(bytes, line, direction)
    if not has_good_reply(parts) then parts = with_damaged(parts, bytes, line, direction) end
    local now = pinfo.rel_ts
    learn(pinfo.number, now, parts, line, direction)
    for _, part in ipairs(parts) do
        if part.request then part.elapsed = seconds(now - (part.request.time or now)) end
    end
    packets[pinfo.number] = parts
    return parts
end

function fgs.dissector(buffer, pinfo, tree)
    pinfo.cols.protocol = "FGs"
    local parts = pinfo.visited and packets[pinfo.number] or take_in(buffer, pinfo)
    local texts = {}
    if buffer:len() == 0 then texts[1] = show_silence(tree, buffer) end
    for _, part in ipairs(parts) do
        texts[#texts + 1] = part.noise and show_noise(tree, buffer, part) or
                                show_frame(tree, buffer, pinfo.number, part)
    end
    pinfo.cols.info = table.concat(texts, "; ")
    return buffer:len()
end
