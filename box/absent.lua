-- For files that commands write: answers 204, not 404, while the file does not exist, so that a browser logs no error.
if not lighty.c.stat(lighty.r.req_attr["physical.path"]) then return 204 end
return 0
