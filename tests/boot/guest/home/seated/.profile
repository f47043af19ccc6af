kelvane --json >/run/boot-check/seated.json 2>/run/boot-check/seated.errors
echo $? >/run/boot-check/status
exec cat
