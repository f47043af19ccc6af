"""What the golden documents say of modules and processors is what dmidecode reads in the machines' firmware tables.

Usage: dmidecode.py DMIDECODE MACHINES
"""
import json
import pathlib
import re
import struct
import subprocess
import sys
import tempfile


def dump(table):
    """DMTF DSP0134, "SMBIOS 3.0 (64-bit) Entry Point", with the table at byte 32."""
    entry = struct.pack('<5sBBBBBBBIQ', b'_SM3_', 0, 24, 3, 3, 0, 1, 0, len(table), 32)
    return entry[:5] + bytes([-sum(entry) % 256]) + entry[6:] + bytes(8) + table


def size(text):
    """Bytes of "16 GB"; none where the firmware does not know, 0 in an empty slot."""
    number, _, unit = text.partition(' ')
    units = {'kB': 10, 'MB': 20, 'GB': 30}
    return int(number) << units[unit] if unit in units else None if text == 'Unknown' else 0


def told_by_dmidecode(program, table):
    with tempfile.NamedTemporaryFile() as file:
        file.write(dump(table))
        file.flush()
        text = subprocess.run([program, '--from-dump', file.name], capture_output=True, text=True).stdout
    modules, arrays, processor = [], [], ''
    for structure in re.split(r'^Handle ', text, flags=re.M):
        value = dict(re.findall(r'^\t([^\t:]+): (.*)$', structure, re.M))
        handle, kind = structure.split(',')[0], structure.split('\n')[1:2]
        if kind == ['Physical Memory Array'] and value.get('Use') == 'System Memory':
            arrays.append(handle)
        elif kind == ['Processor Information']:
            processor = processor or value.get('Version', '')
        elif kind == ['Memory Device'] and 'TRUNCATED' not in structure and value['Array Handle'] in arrays \
                and value['Type'] != 'Logical non-volatile device':
            speed = value.get('Configured Memory Speed', 'Unknown').split(' ')[0]
            module = {'size': size(value['Size']), 'kind': value['Type'], 'speed': int(speed) if speed.isdigit() else None,
                      'slot': value['Locator']}
            modules.append({key: each for key, each in module.items() if each not in (None, 'Unknown', 'RAM')})
    return modules, processor


compared = 0
wrong = False
for table in sorted(pathlib.Path(sys.argv[2]).glob('*/sys/firmware/dmi/tables/DMI')):
    fields = json.loads((table.parents[4] / 'details.json').read_text())['fields']
    modules, processor = told_by_dmidecode(sys.argv[1], table.read_bytes())
    ours = fields['memory'].get('modules', [])
    ours_processor = fields['processor'].get('value', '') if 'smbios' in fields['processor']['source'] else processor
    if table.parents[4].name != 'hostile-texts':  # whose texts are not told as they are
        compared += 1
        if ours != modules or ours_processor != processor:
            wrong = True
            print(table, '\nours:', ours, ours_processor, '\ndmidecode:', modules, processor)
sys.exit(wrong or compared < 15)
