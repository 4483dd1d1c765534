-- Runs in lighttpd for each static file: serves FILE.gz in its place to clients that accept gzip.
local path = lighty.r.req_attr["physical.path"]
if path:sub(-1) == "/" then path = path .. "index.html" end
path = path .. ".gz"
if (lighty.r.req_header["Accept-Encoding"] or ""):find("gzip", 1, true) and lighty.c.stat(path) then
  lighty.r.req_attr["physical.path"] = path
  lighty.r.resp_header["Content-Encoding"] = "gzip"
end
lighty.r.resp_header["Vary"] = "Accept-Encoding"
return 0
